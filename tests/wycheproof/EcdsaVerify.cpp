// ECDSA verification tests: DER signatures (ecdsa_verify) and raw r||s (ecdsa_p1363_verify).
//
// The group's public key is loaded from its uncompressed point; each message is hashed with the group's
// digest and the signature checked with eccVerifyHash. The outcome is "valid" only when the call ran to
// its end with a valid verdict.
#include "wycheproof/Digest.h"
#include "wycheproof/Handlers.h"

namespace wycheproof {

namespace {

// The raw sizes the signature reader splits by itself; other sizes are passed with the split flag and
// the curve's byte length as the length of r.
bool rawSizeKnown(size_t len) {
    return len == 48 || len == 64 || len == 96 || len == 128 || len == 132;
}

const nlohmann::json &groupKey(const nlohmann::json &group) {
    return group.contains("publicKey") ? group["publicKey"] : group["key"];
}

void runEcdsaFile(const nlohmann::json &doc, FileRun &run, bool p1363) {
    for (const auto &group : doc["testGroups"]) {
        const nlohmann::json &key = groupKey(group);
        std::string curve = key.value("curve", std::string());
        std::string sha = group.value("sha", std::string());
        if (!isOurCurve(curve)) {
            run.skip(numTests(group), "curve " + curve + " is not in the catalogue");
            continue;
        }
        std::vector<unsigned char> probe;
        if (!digestByName(sha, probe, probe)) {
            run.skip(numTests(group), "digest " + sha + " is not available");
            continue;
        }

        std::vector<unsigned char> point;
        ecckey::EccKey pub;
        ecckey::LogRecorder keyLog;
        bool keyLoaded = unhex(key.value("uncompressed", std::string()), point) &&
                         pub.loadEcPubKeyByCurveAndPoint(curve.c_str(), toDataBuffer(point), keyLog);

        for (const auto &test : group["tests"]) {
            std::vector<unsigned char> msg, sig, hash;
            if (!keyLoaded || !unhex(test.value("msg", std::string()), msg) ||
                !unhex(test.value("sig", std::string()), sig) || !digestByName(sha, msg, hash)) {
                run.report(test, "invalid", keyLog.toText());
                continue;
            }
            bool split = false;
            unsigned rLen = 0;
            if (p1363 && !rawSizeKnown(sig.size())) {
                split = true;
                rLen = (unsigned)pub.m_curve.m_byteLen;
            }
            ecckey::LogRecorder log;
            log.m_verbose = true;
            bool valid = false;
            bool ran = pub.eccVerifyHash(sig.empty() ? nullptr : sig.data(), (unsigned)sig.size(), split,
                                         hash.data(), (unsigned)hash.size(), valid, log, rLen);
            run.report(test, ran && valid ? "valid" : "invalid", log.toText());
        }
    }
}

}  // namespace

void runEcdsaVerify(const nlohmann::json &doc, FileRun &run) {
    runEcdsaFile(doc, run, false);
}

void runEcdsaP1363Verify(const nlohmann::json &doc, FileRun &run) {
    runEcdsaFile(doc, run, true);
}

}  // namespace wycheproof

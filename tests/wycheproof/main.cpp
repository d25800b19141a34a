// ecckey-wycheproof: runs the Project Wycheproof files of a folder through the module.
//
//   ecckey-wycheproof [--checked] [FOLDER [KNOWN_DIVERGENCES]]   (FOLDER: tests/vectors/wycheproof)
//
// --checked runs the ECDH files only, through loadEccDerChecked and sharedSecretChecked, with no known
// divergence at all: every invalid case must be refused and every valid one must agree.
//
// Each file's "schema" picks a row of the handler table; the walk over groups and tests is shared. A
// handler turns one test into the module's outcome: "valid", "invalid", or "wrong-secret" for an agreed
// secret other than the file's (no verdict accepts it). The outcome is compared with the file's verdict:
//   - "acceptable" in the file accepts either outcome;
//   - a differing outcome listed in known_divergences.txt counts as known, any other as failed (printed
//     with the module's log of the case);
//   - a listed case that agrees now, or that the file does not contain, counts as failed too, so the list
//     stays honest.
// Groups on a curve outside the catalogue, or with a digest OpenSSL lacks, are skipped and counted.
//
// Prints "FILE: N passed, N failed, N known, N skipped" for each file, a MISMATCH, STALE or ERROR line for
// each unexpected outcome and "N passed, N failed" last. Exit status: 0 when nothing was unexpected, 1
// otherwise. Every file of kFiles must be in FOLDER: a missing one counts as failed, never as skipped.
#include <openssl/evp.h>

#include <climits>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/Oracle.h"
#include "support/PublicKey.h"

namespace {

using ecckey_test::Bytes;
using ecckey_test::toDb;
using nlohmann::json;

bool s_checked = false;  // --checked: set once, before any file is read

// Hex text to bytes; false on odd length or a non-hex character (the test then counts as refused).
bool unhex(const std::string &hex, Bytes &out) {
    bool ok = hex.size() % 2 == 0 && hex.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    out = ok ? ecckey_test::unhex(hex) : Bytes();
    return ok;
}

// The forms ECDH keys come in: a hex scalar (taken as generateNewKey2 takes an encoded scalar), an X9.63
// point in hex, DER SubjectPublicKeyInfo in hex, PEM (public or PKCS #8, through the library's PEM reader)
// and JWK. Each goes through the loader callers use.
enum class Form { Scalar, Point, Der, Pem, Jwk };

bool loadKey(Form form, const json &test, const char *field, const std::string &curve, ecckey::EccKey &key,
             ecckey::LogBase &log) {
    ecckey::ClsJsonObject jwk;
    ecckey::StringBuffer label;
    ecckey::DataBuffer der;
    Bytes bytes;
    if (form == Form::Jwk)
        return test.value(field, json()).is_object() && jwk.load(test[field].dump().c_str(), log) &&
               key.loadAnyJwk(jwk, log);
    std::string text = test.value(field, std::string());
    if (form == Form::Scalar)
        return key.generateNewKey2(ecckey::StringBuffer(curve.c_str()), text.c_str(), "hex", log);
    if (form == Form::Point)
        return unhex(text, bytes) && key.loadEcPubKeyByCurveAndPoint(curve.c_str(), toDb(bytes), log);
    bool read = form == Form::Pem ? ecckey::_tvPublicKey::pemToDer(text.c_str(), label, der, log)
                                  : unhex(text, bytes);
    if (form == Form::Der)
        der = toDb(bytes);
    return read && (s_checked ? key.loadEccDerChecked(der, log) : key.loadEccDer(der, log));
}

// An ECDSA group's public key ("publicKey", "key" in older files); ECDH groups name their curve themselves.
const json &groupKey(const json &group) {
    return group.contains("publicKey") ? group["publicKey"] : group.contains("key") ? group["key"] : group;
}

// A handler's arguments: the group, the test, the group's curve and the log of the case.
using Handler =
    std::function<std::string(const json &, const json &, const std::string &, ecckey::LogRecorder &)>;

// ECDH: our key and the peer's in their forms, then sharedSecret (sharedSecretChecked with --checked). A
// refusal anywhere is "invalid".
Handler ecdh(Form mine, Form peer) {
    return [=](const json &, const json &test, const std::string &curve, ecckey::LogRecorder &log) {
        Bytes shared;
        ecckey::EccKey ours, theirs;
        ecckey::DataBuffer secret;
        if (!unhex(test.value("shared", std::string()), shared) ||
            !loadKey(mine, test, "private", curve, ours, log) ||
            !loadKey(peer, test, "public", curve, theirs, log) ||
            !(s_checked ? ours.sharedSecretChecked(theirs, secret, log)
                        : ours.sharedSecret(theirs, secret, log)))
            return "invalid";
        return shared.empty() || secret.equals(toDb(shared)) ? "valid" : "wrong-secret";
    };
}

// ECDSA verification of the message's digest with the group's public point and a DER or a raw r||s
// signature: "valid" only when eccVerifyHash ran to its end with a valid verdict.
Handler verify(bool raw) {
    return [=](const json &group, const json &test, const std::string &curve, ecckey::LogRecorder &log) {
        Bytes point, msg, sig, hash;
        ecckey::EccKey pub;
        if (!unhex(groupKey(group).value("uncompressed", std::string()), point) ||
            !pub.loadEcPubKeyByCurveAndPoint(curve.c_str(), toDb(point), log) ||
            !unhex(test.value("msg", std::string()), msg) || !unhex(test.value("sig", std::string()), sig) ||
            (hash = ecckey_test::digestOf(group.value("sha", std::string()).c_str(), msg)).empty())
            return "invalid";
        // The signature reader splits raw signatures of these sizes by itself; others are passed with the
        // split flag and the curve's byte length as the length of r.
        bool split = raw && !std::set<size_t>{48, 64, 96, 128, 132}.count(sig.size());
        bool valid = false;
        log.m_verbose = true;
        bool ran =
            pub.eccVerifyHash(sig.empty() ? nullptr : sig.data(), (unsigned)sig.size(), split, hash.data(),
                              (unsigned)hash.size(), valid, log, split ? pub.m_curve.m_byteLen : 0);
        return ran && valid ? "valid" : "invalid";
    };
}

// Keyed by the file's "schema" without its "_schema..." suffix.
const std::map<std::string, Handler> kHandlers = {
    {"ecdsa_verify", verify(false)},
    {"ecdsa_p1363_verify", verify(true)},
    {"ecdh_ecpoint_test", ecdh(Form::Scalar, Form::Point)},
    {"ecdh_test", ecdh(Form::Scalar, Form::Der)},
    {"ecdh_pem_test", ecdh(Form::Pem, Form::Pem)},
    {"ecdh_webcrypto_test", ecdh(Form::Jwk, Form::Jwk)},
};

// The files the suite is built on; further *.json files in the folder run as well.
const char *const kFiles[] = {
    "ecdh_secp256k1_test.json",           "ecdh_secp256r1_ecpoint_test.json",
    "ecdh_secp256r1_pem_test.json",       "ecdh_secp256r1_test.json",
    "ecdh_secp256r1_webcrypto_test.json", "ecdsa_brainpoolP256r1_sha256_test.json",
    "ecdsa_secp256k1_sha256_test.json",   "ecdsa_secp256r1_sha256_p1363_test.json",
    "ecdsa_secp256r1_sha256_test.json",
};

// The list of known divergences: one line per case, "<file> <tcId> <behaviour of the module that causes it>".
using Known = std::map<std::pair<std::string, long>, std::string>;

bool loadKnown(const std::string &path, Known &known) {
    std::ifstream in(path);
    std::string line, file, cause;
    long tcId = 0;
    int lineNo = 0;
    auto fail = [&](const char *why) {
        std::printf("ERROR %s:%d: %s\n", path.c_str(), lineNo, why);
        return false;
    };
    if (!in)
        return fail("cannot read the list");
    for (lineNo = 1; std::getline(in, line); ++lineNo) {
        std::istringstream fields(line);
        if (!(fields >> file) || file[0] == '#')
            continue;
        if (!(fields >> tcId))
            return fail("expected '<file> <tcId> <cause>'");
        if (!std::getline(fields >> std::ws, cause))
            return fail("a divergence needs its cause");
        if (!known.emplace(std::make_pair(file, tcId), cause).second)
            return fail("the case is listed twice");
    }
    return true;
}

// Runs one file and adds its passed and failed counts to the totals. A file that cannot be read or parsed,
// or whose layout is not Wycheproof's, counts as one failure.
void runFile(const std::filesystem::path &path, const Known &known, long &allPassed, long &allFailed) {
    std::string name = path.filename().string(), schema;
    long passed = 0, failed = 0, knownCount = 0, skipped = 0;
    std::set<long> seen;
    std::set<std::string> skipReasons;
    auto handler = kHandlers.end();
    if (!std::filesystem::is_regular_file(path)) {
        std::printf("MISSING %s: the vector file is not there\n", path.string().c_str());
        ++allFailed;
        return;
    }
    try {
        json doc = json::parse(std::ifstream(path));
        schema = doc.value("schema", std::string());
        handler = kHandlers.find(schema.substr(0, schema.find("_schema")));
        for (const json &group : doc.at("testGroups")) {
            std::string curve = groupKey(group).value("curve", std::string());
            std::string sha = group.value("sha", std::string());
            ecckey::EccCurve ourCurve;
            ecckey::LogNull quiet;
            std::string skip = handler == kHandlers.end() ? "no handler for schema " + schema
                               : !ourCurve.loadCurveByName(curve.c_str(), quiet)
                                   ? "curve " + curve + " is not in the catalogue"
                               : group.contains("sha") && !EVP_get_digestbyname(sha.c_str())
                                   ? "digest " + sha + " is not available"
                                   : "";
            if (!skip.empty()) {
                skipped += (long)group.at("tests").size();
                if (!group.at("tests").empty() && skipReasons.insert(skip).second)
                    std::printf("SKIP %s: %s\n", name.c_str(), skip.c_str());
                continue;
            }
            for (const json &test : group.at("tests")) {
                ecckey::LogRecorder log;
                std::string got = handler->second(group, test, curve, log);
                long tcId = test.value("tcId", -1L);
                std::string expected = test.value("result", std::string("?"));
                bool agrees = got == expected || (expected == "acceptable" && got != "wrong-secret");
                auto cause = known.find(std::make_pair(name, tcId));
                bool listed = cause != known.end();
                seen.insert(tcId);
                // A test fails when its outcome differs unlisted, or agrees although listed.
                failed += agrees == listed ? 1 : 0;
                if (agrees != listed)
                    ++(agrees ? passed : knownCount);
                else if (agrees)
                    std::printf("STALE %s tcId=%ld result=%s got=%s: listed (%s) but agrees now\n",
                                name.c_str(), tcId, expected.c_str(), got.c_str(), cause->second.c_str());
                else
                    std::printf("MISMATCH %s tcId=%ld result=%s got=%s flags=%s\n%s\n", name.c_str(), tcId,
                                expected.c_str(), got.c_str(),
                                test.value("flags", json::array()).dump().c_str(), log.toText().c_str());
            }
        }
    } catch (const std::exception &ex) {
        std::printf("ERROR %s: %s\n", name.c_str(), ex.what());
        ++failed;
    }
    // A listed case the file does not contain is stale as well; a file no handler reads is not checked.
    for (auto it = known.lower_bound({name, LONG_MIN}); it != known.end() && it->first.first == name; ++it)
        if (handler != kHandlers.end() && !seen.count(it->first.second)) {
            ++failed;
            std::printf("STALE %s tcId=%ld: listed as a known divergence but the file has no such test\n",
                        name.c_str(), it->first.second);
        }
    std::printf("%s: %ld passed, %ld failed, %ld known, %ld skipped\n", name.c_str(), passed, failed,
                knownCount, skipped);
    allPassed += passed;
    allFailed += failed;
}

}  // namespace

// argv[1], optional: another folder than the checked-in vectors; argv[2], optional: another list of known
// divergences. Either may follow --checked.
int main(int argc, char **argv) {
    s_checked = argc > 1 && std::string(argv[1]) == "--checked";
    argc -= s_checked ? 1 : 0;
    argv += s_checked ? 1 : 0;
    std::string dir = argc > 1 ? argv[1] : ECCKEY_VECTORS_DIR "/wycheproof";
    Known known;
    if (!s_checked && !loadKnown(argc > 2 ? argv[2] : ECCKEY_KNOWN_DIVERGENCES, known))
        return 1;
    std::set<std::filesystem::path> files;  // sorted, for a stable report
    auto wanted = [](const std::filesystem::path &p) {
        return p.extension() == ".json" && (!s_checked || p.filename().string().rfind("ecdh", 0) == 0);
    };
    for (const char *name : kFiles)
        if (wanted(name))
            files.insert(std::filesystem::path(dir) / name);
    std::error_code ec;  // a missing folder leaves every listed file missing
    for (const auto &entry : std::filesystem::directory_iterator(dir, ec))
        if (wanted(entry.path()))
            files.insert(entry.path());
    long passed = 0, failed = 0;
    for (const auto &file : files)
        runFile(file, known, passed, failed);
    std::printf("%ld passed, %ld failed\n", passed, failed);
    return failed == 0 && !files.empty() ? 0 : 1;
}

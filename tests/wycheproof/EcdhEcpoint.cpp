// ECDH tests with the peer's public key as an X9.63 point (ecdh_ecpoint_test).
//
// Our private key comes from the test's scalar through generateNewKey2, the peer from the point through
// loadEcPubKeyByCurveAndPoint, and the secret from sharedSecret. A computed secret means the module
// accepted the point ("valid"), unless it differs from the file's secret ("wrong-secret", accepted by no
// verdict); a refusal anywhere is "invalid".
#include "wycheproof/Handlers.h"

namespace wycheproof {

void runEcdhEcpoint(const nlohmann::json &doc, FileRun &run) {
    for (const auto &group : doc["testGroups"]) {
        std::string curve = group.value("curve", std::string());
        if (!isOurCurve(curve)) {
            run.skip(numTests(group), "curve " + curve + " is not in the catalogue");
            continue;
        }
        for (const auto &test : group["tests"]) {
            std::vector<unsigned char> point, shared;
            std::string privHex = test.value("private", std::string());
            ecckey::LogRecorder log;
            ecckey::EccKey mine, peer;
            ecckey::DataBuffer secret;
            bool ok =
                unhex(test.value("public", std::string()), point) &&
                unhex(test.value("shared", std::string()), shared) &&
                mine.generateNewKey2(ecckey::StringBuffer(curve.c_str()), privHex.c_str(), "hex", log) &&
                peer.loadEcPubKeyByCurveAndPoint(curve.c_str(), toDataBuffer(point), log) &&
                mine.sharedSecret(peer, secret, log);
            std::string got = "invalid";
            if (ok) {
                bool matches = shared.empty() || secret.equals(shared.data(), (unsigned)shared.size());
                got = matches ? "valid" : "wrong-secret";
            }
            run.report(test, got, log.toText());
        }
    }
}

}  // namespace wycheproof

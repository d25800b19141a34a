// ECDH tests whose keys come in the module's key encodings: DER SubjectPublicKeyInfo with a hex scalar
// (ecdh_test), PEM SubjectPublicKeyInfo with a PEM PKCS #8 private key (ecdh_pem_test), and JWK pairs
// (ecdh_webcrypto_test).
//
// Each test loads both keys through the loaders callers use (loadEccDer after the library's PEM reader,
// loadAnyJwk) and agrees a secret with sharedSecret. A computed secret means the module accepted the
// keys ("valid"), unless it differs from the file's secret ("wrong-secret", accepted by no verdict); a
// refusal anywhere is "invalid".
#include <string>

#include "support/PublicKey.h"
#include "wycheproof/Handlers.h"

namespace wycheproof {

namespace {

using KeyLoader = bool (*)(const nlohmann::json &test, const std::string &curve, ecckey::EccKey &key,
                           ecckey::LogBase &log);

bool loadDerHex(const std::string &hex, ecckey::EccKey &key, ecckey::LogBase &log) {
    std::vector<unsigned char> der;
    if (!unhex(hex, der))
        return false;
    ecckey::DataBuffer db = toDataBuffer(der);
    return key.loadEccDer(db, log);
}

bool loadPem(const std::string &pem, ecckey::EccKey &key, ecckey::LogBase &log) {
    ecckey::StringBuffer label;
    ecckey::DataBuffer der;
    return ecckey::_tvPublicKey::pemToDer(pem.c_str(), label, der, log) && key.loadEccDer(der, log);
}

bool loadJwk(const nlohmann::json &jwk, ecckey::EccKey &key, ecckey::LogBase &log) {
    ecckey::ClsJsonObject json;
    return jwk.is_object() && json.load(jwk.dump().c_str(), log) && key.loadAnyJwk(json, log);
}

// ecdh_test: the scalar as hex, taken as generateNewKey2 takes an encoded scalar.
bool privateFromHex(const nlohmann::json &test, const std::string &curve, ecckey::EccKey &key,
                    ecckey::LogBase &log) {
    std::string hex = test.value("private", std::string());
    return key.generateNewKey2(ecckey::StringBuffer(curve.c_str()), hex.c_str(), "hex", log);
}

bool publicFromDerHex(const nlohmann::json &test, const std::string &, ecckey::EccKey &key,
                      ecckey::LogBase &log) {
    return loadDerHex(test.value("public", std::string()), key, log);
}

bool privateFromPem(const nlohmann::json &test, const std::string &, ecckey::EccKey &key,
                    ecckey::LogBase &log) {
    return loadPem(test.value("private", std::string()), key, log);
}

bool publicFromPem(const nlohmann::json &test, const std::string &, ecckey::EccKey &key,
                   ecckey::LogBase &log) {
    return loadPem(test.value("public", std::string()), key, log);
}

bool privateFromJwk(const nlohmann::json &test, const std::string &, ecckey::EccKey &key,
                    ecckey::LogBase &log) {
    return test.contains("private") && loadJwk(test["private"], key, log);
}

bool publicFromJwk(const nlohmann::json &test, const std::string &, ecckey::EccKey &key,
                   ecckey::LogBase &log) {
    return test.contains("public") && loadJwk(test["public"], key, log);
}

void runEcdhWith(const nlohmann::json &doc, FileRun &run, KeyLoader loadPrivate, KeyLoader loadPublic) {
    for (const auto &group : doc["testGroups"]) {
        std::string curve = group.value("curve", std::string());
        if (!isOurCurve(curve)) {
            run.skip(numTests(group), "curve " + curve + " is not in the catalogue");
            continue;
        }
        for (const auto &test : group["tests"]) {
            std::vector<unsigned char> shared;
            ecckey::LogRecorder log;
            ecckey::EccKey mine, peer;
            ecckey::DataBuffer secret;
            bool ok = unhex(test.value("shared", std::string()), shared) &&
                      loadPrivate(test, curve, mine, log) && loadPublic(test, curve, peer, log) &&
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

}  // namespace

void runEcdhDer(const nlohmann::json &doc, FileRun &run) {
    runEcdhWith(doc, run, privateFromHex, publicFromDerHex);
}

void runEcdhPem(const nlohmann::json &doc, FileRun &run) {
    runEcdhWith(doc, run, privateFromPem, publicFromPem);
}

void runEcdhWebcrypto(const nlohmann::json &doc, FileRun &run) {
    runEcdhWith(doc, run, privateFromJwk, publicFromJwk);
}

}  // namespace wycheproof

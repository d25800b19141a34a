#include "wycheproof/Handlers.h"

namespace wycheproof {

const std::vector<SchemaEntry> &schemaHandlers() {
    static const std::vector<SchemaEntry> table = {
        {"ecdsa_verify", runEcdsaVerify},      {"ecdsa_p1363_verify", runEcdsaP1363Verify},
        {"ecdh_ecpoint_test", runEcdhEcpoint}, {"ecdh_test", runEcdhDer},
        {"ecdh_pem_test", runEcdhPem},         {"ecdh_webcrypto_test", runEcdhWebcrypto},
    };
    return table;
}

SchemaHandler findHandler(const std::string &schemaField) {
    std::string name = schemaField.substr(0, schemaField.find("_schema"));
    for (const SchemaEntry &e : schemaHandlers())
        if (name == e.schema)
            return e.handler;
    return nullptr;
}

bool unhex(const std::string &hex, std::vector<unsigned char> &out) {
    out.clear();
    if (hex.size() % 2 != 0)
        return false;
    auto nibble = [](char c) -> int {
        if (c >= '0' && c <= '9')
            return c - '0';
        if (c >= 'a' && c <= 'f')
            return c - 'a' + 10;
        if (c >= 'A' && c <= 'F')
            return c - 'A' + 10;
        return -1;
    };
    for (size_t i = 0; i < hex.size(); i += 2) {
        int hi = nibble(hex[i]), lo = nibble(hex[i + 1]);
        if (hi < 0 || lo < 0)
            return false;
        out.push_back((unsigned char)(hi << 4 | lo));
    }
    return true;
}

ecckey::DataBuffer toDataBuffer(const std::vector<unsigned char> &bytes) {
    ecckey::DataBuffer db;
    if (!bytes.empty())
        db.append(bytes.data(), (unsigned)bytes.size());
    return db;
}

bool isOurCurve(const std::string &name) {
    ecckey::EccCurve curve;
    ecckey::LogNull quiet;
    return curve.loadCurveByName(name.c_str(), quiet);
}

long numTests(const nlohmann::json &group) {
    return group.contains("tests") && group["tests"].is_array() ? (long)group["tests"].size() : 0;
}

long numTestsInFile(const nlohmann::json &doc) {
    long n = 0;
    if (doc.contains("testGroups") && doc["testGroups"].is_array())
        for (const auto &g : doc["testGroups"])
            n += numTests(g);
    return n;
}

}  // namespace wycheproof

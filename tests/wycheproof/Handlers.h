// Schema handlers of the Wycheproof runner, one function per schema, and the table that finds them.
//
// A handler runs every test of one parsed file whose curve is in the catalogue and reports each outcome
// to the FileRun. Adding a schema means writing its handler in its own file and adding one row to
// schemaHandlers() (Handlers.cpp).
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "ecc/ecckey.h"
#include "wycheproof/FileRun.h"

namespace wycheproof {

using SchemaHandler = void (*)(const nlohmann::json &doc, FileRun &run);

struct SchemaEntry {
    const char *schema;  // the file's "schema" without its "_schema..." suffix, e.g. "ecdsa_verify"
    SchemaHandler handler;
};

// Null when no handler reads this schema ("ecdsa_verify_schema_v1.json" and "ecdsa_verify_schema.json"
// both name "ecdsa_verify").
SchemaHandler findHandler(const std::string &schemaField);
const std::vector<SchemaEntry> &schemaHandlers();

// ECDSA verification with DER signatures (ecdsa_verify) and with raw r||s (ecdsa_p1363_verify).
void runEcdsaVerify(const nlohmann::json &doc, FileRun &run);
void runEcdsaP1363Verify(const nlohmann::json &doc, FileRun &run);
// ECDH with the peer's public key as an X9.63 point (ecdh_ecpoint_test).
void runEcdhEcpoint(const nlohmann::json &doc, FileRun &run);
// ECDH with keys in the module's encodings (EcdhKeyEncodings.cpp): DER SubjectPublicKeyInfo and a hex
// scalar (ecdh_test), PEM public and PKCS #8 private keys (ecdh_pem_test), JWK pairs (ecdh_webcrypto_test).
void runEcdhDer(const nlohmann::json &doc, FileRun &run);
void runEcdhPem(const nlohmann::json &doc, FileRun &run);
void runEcdhWebcrypto(const nlohmann::json &doc, FileRun &run);

// ---- Shared by the handlers (Handlers.cpp) ----

// Hex text to bytes; false on odd length or a non-hex character.
bool unhex(const std::string &hex, std::vector<unsigned char> &out);
ecckey::DataBuffer toDataBuffer(const std::vector<unsigned char> &bytes);
// True when the catalogue knows the curve under the name the file uses ("secp256r1", "brainpoolP256r1").
bool isOurCurve(const std::string &name);
// The number of tests of a group.
long numTests(const nlohmann::json &group);
// Number of tests in the whole file.
long numTestsInFile(const nlohmann::json &doc);

}  // namespace wycheproof

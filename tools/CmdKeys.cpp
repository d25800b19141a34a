// ecckey gen, pub and convert: making keys and writing them in another form.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "ArgList.h"
#include "Commands.h"
#include "FileIo.h"
#include "FormatNames.h"
#include "KeyFile.h"
#include "Session.h"
#include "ecc/EccKey.h"
#include "formats/CoseKey.h"
#include "formats/JwkMembers.h"
#include "formats/JwsAlgorithm.h"
#include "support/LogBase.h"
#include "support/Prng.h"

namespace ecckey_cli {

namespace {

// Fresh draws are rare enough to be a sign of trouble after a few: a scalar outside [1, n) comes once in
// 2^32 draws at worst (P-521 reduces 528 random bits; secp256k1 uses its 256 bits as drawn).
const int kMaxGenerateAttempts = 4;

// The --format value, or defaultName when the option is absent. Null with a message for an unknown name.
const FormatInfo *formatOption(const ArgList &args, const char *defaultName, std::string &error) {
    const char *name = args.has("--format") ? args.value("--format") : defaultName;
    const FormatInfo *format = formatByName(name);
    if (format == nullptr)
        error = std::string("unknown format '") + name + "'";
    return format;
}

// --set-kid (an ID, or the word thumbprint), --alg and --use, which a JWK can carry; a COSE key takes an ID
// and --alg.
[[nodiscard]] bool jwkExtras(const ArgList &args, const FormatInfo &format, ecckey::JwkExtras &extras) {
    const char *kid = args.value("--set-kid");
    extras.kidIsThumbprint = kid != nullptr && std::string(kid) == "thumbprint";
    extras.kid = extras.kidIsThumbprint ? nullptr : kid;
    extras.alg = args.value("--alg");
    extras.use = args.value("--use");
    if (format.format == KeyFormat::Cose)
        return !extras.kidIsThumbprint && extras.use == nullptr;
    return (kid == nullptr && extras.alg == nullptr && extras.use == nullptr) ||
           format.format == KeyFormat::Jwk;
}

// A COSE key with the kid (the ID's bytes) and alg (the key's own ES algorithm) asked for.
[[nodiscard]] bool writeCoseWithExtras(ecckey::EccKey &key, bool writePrivate,
                                       const ecckey::JwkExtras &extras, ecckey::DataBuffer &out,
                                       ecckey::LogBase &log) {
    const ecckey::JwsAlgorithm *own = ecckey::jwsAlgorithmOfKey(key);
    if (extras.alg != nullptr && (own == nullptr || ecckey::jwsAlgorithmByName(extras.alg) != own))
        return false;
    return ecckey::toCoseKey(key, writePrivate, reinterpret_cast<const unsigned char *>(extras.kid),
                             extras.kid ? (unsigned)std::strlen(extras.kid) : 0, extras.alg != nullptr, out,
                             log);
}

// Adds the JWK members asked for to the JWK text in out.
[[nodiscard]] bool addExtras(ecckey::EccKey &key, const ecckey::JwkExtras &extras, ecckey::DataBuffer &out,
                             ecckey::LogBase &log) {
    if (extras.kid == nullptr && !extras.kidIsThumbprint && extras.alg == nullptr && extras.use == nullptr)
        return true;
    ecckey::StringBuffer text;
    if (!text.append(reinterpret_cast<const char *>(out.getData2()), out.getSize()) ||
        !ecckey::addJwkMembers(key, extras, text, log))
        return false;
    out.secureClear();
    return out.append(text);
}

// The --iter value: 1 to kMaxIterations (more would make a file this command refuses to read), given with
// --passout only.
[[nodiscard]] bool passoutIterations(const ArgList &args, unsigned long &iterations, std::string &error) {
    const char *text = args.value("--iter");
    if (text == nullptr)
        return true;
    char *end = nullptr;
    iterations = std::strtoul(text, &end, 10);
    if (!args.has("--passout"))
        error = "--iter sets the iterations of --passout";
    else if (*text < '1' || *text > '9' || *end != '\0' || iterations > kMaxIterations)
        error = "--iter takes a number of iterations from 1 to 1000000";
    return error.empty();
}

// Writes the key in the format to -o (standard output without it); private output is secret.
int writeKeyOutput(Session &session, ecckey::EccKey &key, const FormatInfo &format, bool writePrivate,
                   const ArgList &args) {
    ecckey::DataBuffer out;
    out.setSensitive(writePrivate);
    std::string error;
    ecckey::JwkExtras extras;
    if (!jwkExtras(args, format, extras))
        return usageError("--set-kid, --alg and --use go with --format jwk (cose: --set-kid ID and --alg)");
    unsigned long iterations = kDefaultIterations;
    if (!passoutIterations(args, iterations, error))
        return usageError(error.c_str());
    // (--passout goes to writeKey, which refuses it for every format but pem and der.)
    if (format.format == KeyFormat::Cose && (extras.kid != nullptr || extras.alg != nullptr) &&
        !args.has("--passout") && !args.has("--compressed")) {
        if (!writeCoseWithExtras(key, writePrivate, extras, out, session.log()))
            return session.fail(
                "cannot write the COSE key (P-256, P-384, P-521 and secp256k1; --alg: the key's own)");
    } else if (!writeKey(key, format, writePrivate, out, session.log(), error, args.value("--passout"),
                         iterations, args.has("--compressed"))) {
        return session.fail(error);
    } else if (!addExtras(key, extras, out, session.log()))
        return session.fail(
            "cannot add the JWK members (--set-kid thumbprint: P-256, P-384, P-521 and "
            "secp256k1; --alg ES*: the key's own)");
    if (!writeOutput({args.value("-o"), args.has("--force")}, out, writePrivate, error))
        return session.fail(error);
    return session.finish(kExitOk);
}

// gen makes its key; pub and convert read one, so they take --kid for a JWK Set and --passin for an
// encrypted key. gen and convert write private keys, which --passout encrypts.
[[nodiscard]] bool parseKeyCommand(int argc, char **argv, const char *name, ArgList &args,
                                   std::string &error) {
    const bool isGen = std::string(name) == "gen";
    std::vector<std::string> valueOptions = {"--format", "-o", "--set-kid", "--alg", "--use"};
    if (!isGen) {
        valueOptions.push_back("--kid");
        valueOptions.push_back("--passin");
    }
    if (std::string(name) != "pub")
        valueOptions.insert(valueOptions.end(), {"--passout", "--iter"});
    std::vector<std::string> flags = {"--force"};
    if (!isGen)
        flags.push_back("--compressed");
    if (!args.parse(argc, argv, valueOptions, flags, error))
        return false;
    if (args.positionals().size() != 1) {
        error = std::string(name) + " takes one " + (isGen ? "curve name" : "key file");
        return false;
    }
    return true;
}

}  // namespace

int cmdGen(int argc, char **argv) {
    ArgList args;
    std::string error;
    if (!parseKeyCommand(argc, argv, "gen", args, error))
        return usageError(error.c_str());
    const FormatInfo *format = formatOption(args, "pem", error);
    if (format == nullptr)
        return usageError(error.c_str());
    Session session(args.verbose());
    if (!ecckey::formats::holdsPrivate(format->format))
        return session.fail(std::string("the ") + format->name + " format cannot hold a private key");

    const std::string &curveName = args.positionals()[0];
    ecckey::EccCurve curve;
    ecckey::LogNull quiet;
    if (!curve.loadCurveByName(curveName.c_str(), quiet))
        return session.fail("unknown curve '" + curveName + "' ('ecckey curves' lists the names)");
    ecckey::EccKey key;
    ecckey::SystemPrng prng;
    // A new key is drawn uniformly from [1, n - 1], not as the library's default reduced draw.
    if (!session.log().m_options.append2(" ", ecckey::EccKey::kOptDrawUniform))
        return session.fail("out of memory");
    bool generated = false;
    for (int attempt = 0; attempt < kMaxGenerateAttempts && !generated; ++attempt) {
        if (!key.generateNewKey(ecckey::StringBuffer(curveName.c_str()), prng, session.log()))
            return session.fail("cannot generate a key on " + std::string(curve.m_name.getString()));
        generated = checkKey(key, session.log(), error);
    }
    if (!generated)
        return session.fail("cannot generate a valid key: " + error);
    return writeKeyOutput(session, key, *format, true, args);
}

int cmdPub(int argc, char **argv) {
    ArgList args;
    std::string error;
    if (!parseKeyCommand(argc, argv, "pub", args, error))
        return usageError(error.c_str());
    const FormatInfo *format = formatOption(args, "pem", error);
    if (format == nullptr)
        return usageError(error.c_str());
    Session session(args.verbose());
    ecckey::EccKey key;
    KeyFileInfo keyInfo(args.value("--kid"), args.value("--passin"));
    if (!readKeyFile(args.positionals()[0].c_str(), key, session.log(), error, &keyInfo))
        return session.fail(error);
    return writeKeyOutput(session, key, *format, false, args);
}

int cmdConvert(int argc, char **argv) {
    ArgList args;
    std::string error;
    if (!parseKeyCommand(argc, argv, "convert", args, error))
        return usageError(error.c_str());
    if (!args.has("--format"))
        return usageError("convert needs --format");
    const FormatInfo *format = formatOption(args, "pem", error);
    if (format == nullptr)
        return usageError(error.c_str());
    Session session(args.verbose());
    ecckey::EccKey key;
    KeyFileInfo keyInfo(args.value("--kid"), args.value("--passin"));
    if (!readKeyFile(args.positionals()[0].c_str(), key, session.log(), error, &keyInfo))
        return session.fail(error);
    return writeKeyOutput(session, key, *format, key.isPrivate(), args);
}

}  // namespace ecckey_cli

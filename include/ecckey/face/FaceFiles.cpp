// Key files for the face, through the key-file library: reading any format it knows, writing each
// KeyFormat. The library's one-line reasons become the Errc a caller branches on.
#include <string>

#include "ecckey/face/Face.h"
#include "formats/KeyDecoder.h"
#include "formats/KeyEncoder.h"
#include "support/DataBuffer.h"
#include "support/StringBuffer.h"

namespace ecckey {

namespace {

using KeyResult = Result<std::unique_ptr<EccKey>>;

// Reads the file without the checks, so that what does not parse (InvalidInput) and what parses but
// fails them (InvalidKey) are told apart; a passphrase is handed over only when the file is encrypted.
KeyResult readKeyFile(ByteView file, std::string_view passphrase) {
    FaceLog log;
    DataBuffer content;
    if (!toDataBuffer(file, content))
        return Error(Errc::Internal, "out of memory");
    bool asked = false;
    const formats::PassphraseCallback callback = [&](StringBuffer &secret, std::string &error) {
        asked = true;
        error = "the key is encrypted and no passphrase was given";
        return !passphrase.empty() && secret.append(passphrase.data(), (unsigned)passphrase.size());
    };
    formats::DecodeOptions unchecked;
    unchecked.checked = false;
    formats::DecodedKey what;
    std::unique_ptr<EccKey> key = newEccKey();
    if (!key)
        return Error(Errc::Internal, "out of memory");
    if (!formats::decodeKey(content, callback, unchecked, *key, what, log)) {
        const Errc code = !asked               ? Errc::InvalidInput
                          : passphrase.empty() ? Errc::NeedPassphrase
                                               : Errc::WrongPassphrase;
        return log.error(code, what.error.c_str());
    }
    std::string error;
    if (!formats::checkKey(*key, log, error))
        return log.error(Errc::InvalidKey, error.c_str());
    return key;
}

Result<std::string> saveKey(const EccKey *key, KeyFormat format, bool writePrivate,
                            std::string_view passphrase) {
    if (key == nullptr)
        return Error(Errc::InvalidKey, kEmptyKey);
    const auto libraryFormat = static_cast<formats::KeyFormat>(format);
    if (writePrivate ? !formats::holdsPrivate(libraryFormat) : !formats::holdsPublic(libraryFormat))
        return Error(Errc::Unsupported, writePrivate ? "the format holds public keys only"
                                                     : "the format holds private keys only");
    FaceLog log;
    StringBuffer secret;
    formats::EncodeOptions options;
    if (!passphrase.empty()) {
        if (!secret.append(passphrase.data(), (unsigned)passphrase.size()))
            return Error(Errc::Internal, "out of memory");
        options.passphrase = &secret;
    }
    // The writers take the key as scratch; a copy is handed to them.
    std::unique_ptr<EccKey> scratch = newEccKey();
    DataBuffer out;
    std::string error;
    if (!scratch)
        return Error(Errc::Internal, "out of memory");
    scratch->copyFromEccKey(*key);
    if (!formats::encodeKey(*scratch, libraryFormat, writePrivate, options, out, log, error))
        return log.error(Errc::Unsupported, error.c_str());
    return std::string(reinterpret_cast<const char *>(out.getData2()), out.getSize());
}

}  // namespace

Result<PublicKey> PublicKey::load(ByteView file) {
    return guarded<PublicKey>([&]() -> Result<PublicKey> {
        KeyResult key = readKeyFile(file, {});
        if (!key)
            return key.error();
        if (!(*key)->isPrivate())
            return FaceAccess::makePublic(std::move(*key));
        PublicKey half = FaceAccess::makePrivate(std::move(*key)).publicKey();
        if (FaceAccess::key(half) == nullptr)
            return Error(Errc::Internal, "out of memory");
        return half;
    });
}

Result<PrivateKey> PrivateKey::load(ByteView file, std::string_view passphrase) {
    return guarded<PrivateKey>([&]() -> Result<PrivateKey> {
        KeyResult key = readKeyFile(file, passphrase);
        if (!key)
            return key.error();
        if (!(*key)->isPrivate())
            return Error(Errc::InvalidKey, "the file holds a public key");
        return PrivateKey(std::move(*key));
    });
}

Result<std::string> PublicKey::save(KeyFormat format) const {
    return guarded<std::string>([&]() { return saveKey(m_key.get(), format, false, {}); });
}

Result<std::string> PrivateKey::save(KeyFormat format, std::string_view passphrase) const {
    return guarded<std::string>([&]() { return saveKey(m_key.get(), format, true, passphrase); });
}

}  // namespace ecckey

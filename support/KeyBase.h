// TovarObject and KeyBase: roots of the library's key classes.
#pragma once

#include <cstddef>

namespace ecckey {

class _tvAsn1;
class ClsJsonObject;
class mp_int;
class LogBase;

class TovarObject {
  public:
    virtual ~TovarObject() = default;
    virtual std::size_t heapUsage() const { return 0; }
};

// KeyBase keeps the PKCS #8 attributes a key was given (none by default).
class KeyBase : public TovarObject {
  public:
    KeyBase();
    ~KeyBase() override;
    KeyBase(const KeyBase &) = delete;
    KeyBase &operator=(const KeyBase &) = delete;

    void clearKeyBase();
    void copyFromKeyBase(const KeyBase &other);

    // Sets the attributes (a [0] IMPLICIT SET of Attribute, as in PKCS #8) that addAttributesToPkcs8
    // appends; the node's reference is taken. Null removes them.
    void setPkcs8Attributes(_tvAsn1 *attributes);
    // Appends the key's PKCS #8 attributes, if any, to a PrivateKeyInfo SEQUENCE under construction.
    [[nodiscard]] bool addAttributesToPkcs8(_tvAsn1 &privateKeyInfo, LogBase &log);
    // Reads a base64url JWK member into an unsigned integer. False, logged, when absent or undecodable.
    [[nodiscard]] bool jwkContentToMpInt(ClsJsonObject &json, const char *memberName, mp_int &out,
                                         LogBase &log);

  private:
    _tvAsn1 *m_pkcs8Attributes;
};

}  // namespace ecckey

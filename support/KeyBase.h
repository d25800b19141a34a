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
    // Heap bytes the object holds beyond itself, for callers that account for memory: 0 here, and no
    // class of the library overrides it.
    virtual std::size_t heapUsage() const { return 0; }
};

// KeyBase keeps the PKCS #8 attributes a key was given (none by default).
class KeyBase : public TovarObject {
  public:
    KeyBase();            // no attributes
    ~KeyBase() override;  // releases the attributes
    KeyBase(const KeyBase &) = delete;
    KeyBase &operator=(const KeyBase &) = delete;

    // Drops the attributes (releasing this key's reference to them).
    void clearKeyBase();
    // Makes this key share other's attributes node (one more reference; none when other has none) in
    // place of its own. Copying a key onto itself does nothing.
    void copyFromKeyBase(const KeyBase &other);

    // Sets the attributes (a [0] IMPLICIT SET of Attribute, as in PKCS #8) that addAttributesToPkcs8
    // appends, releasing those held before; the node's reference is taken, not checked. Null removes them.
    void setPkcs8Attributes(_tvAsn1 *attributes);
    // Appends the key's PKCS #8 attributes, if any, to a PrivateKeyInfo SEQUENCE under construction (true,
    // nothing appended, when there are none). False, privateKeyInfo unchanged, with "PKCS8 attributes are
    // not a [0] IMPLICIT SET." when the node is not a constructed context-specific [0], or "Failed to
    // append PKCS8 attributes." when the append fails. The key keeps its attributes either way.
    [[nodiscard]] bool addAttributesToPkcs8(_tvAsn1 &privateKeyInfo, LogBase &log) const;
    // Replaces out with the unsigned big-endian integer that the JWK member memberName (a top-level name or
    // a dotted path) holds in base64url. False with "JWK member is missing." or "JWK member is not valid
    // base64url." (also for text that decodes to no bytes), each followed by the data item "member", out
    // unchanged; "Failed to convert JWK member to an integer." when memory is short (out undefined). The
    // decoded bytes are held in a buffer that is wiped.
    [[nodiscard]] bool jwkContentToMpInt(ClsJsonObject &json, const char *memberName, mp_int &out,
                                         LogBase &log);

  private:
    _tvAsn1 *m_pkcs8Attributes;
};

}  // namespace ecckey

// Scope owners: each releases what it holds on every path out of the scope.
#pragma once

#include <cstddef>

namespace ecckey {

// Base of reference-counted objects (ASN.1 tree nodes). Created with a count of one.
class RefCountedObject {
  public:
    RefCountedObject() = default;
    RefCountedObject(const RefCountedObject &) = delete;
    RefCountedObject &operator=(const RefCountedObject &) = delete;

    void incRefCount() { ++m_refCount; }  // one more reference, for a new holder
    // Drops one reference; the object deletes itself when none is left. Not thread-safe: an object and
    // its holders stay on one thread.
    void decRefCount();

  protected:
    virtual ~RefCountedObject() = default;

  private:
    int m_refCount = 1;
};

// Deletes the object it was given (allocated with new; null is allowed) when it goes out of scope.
template <typename T>
class ObjectOwner {
  public:
    explicit ObjectOwner(T *object = nullptr) : m_object(object) {}
    ~ObjectOwner() { delete m_object; }
    ObjectOwner(const ObjectOwner &) = delete;
    ObjectOwner &operator=(const ObjectOwner &) = delete;

    // Deletes the object held and holds object instead.
    void set(T *object) {
        delete m_object;
        m_object = object;
    }
    T *get() const { return m_object; }  // borrowed; the owner still deletes it
    // Gives the object back to the caller, who then deletes it; the owner then holds nothing.
    T *release() {
        T *o = m_object;
        m_object = nullptr;
        return o;
    }

  private:
    T *m_object;
};

// Drops the one reference it holds (null is allowed) when it goes out of scope.
class RefCountedObjectOwner {
  public:
    explicit RefCountedObjectOwner(RefCountedObject *object = nullptr) : m_object(object) {}
    ~RefCountedObjectOwner() {
        if (m_object)
            m_object->decRefCount();
    }
    RefCountedObjectOwner(const RefCountedObjectOwner &) = delete;
    RefCountedObjectOwner &operator=(const RefCountedObjectOwner &) = delete;

    // Drops the reference held and holds object's instead.
    void set(RefCountedObject *object) {
        if (m_object)
            m_object->decRefCount();
        m_object = object;
    }
    // Gives the reference back to the caller; the owner then holds nothing.
    RefCountedObject *release() {
        RefCountedObject *o = m_object;
        m_object = nullptr;
        return o;
    }

  private:
    RefCountedObject *m_object;
};

// Allocates a byte array of count bytes (one byte for a count of 0), not initialised; null when memory is
// short. Release with tvDeleteUnsignedChar, which does not zero it and accepts null, or a ByteArrayOwner.
unsigned char *tvNewUnsignedChar(std::size_t count);
void tvDeleteUnsignedChar(unsigned char *bytes);

// Frees, after zeroing its first count bytes, a byte array from tvNewUnsignedChar (null is allowed) when it
// goes out of scope.
class ByteArrayOwner {
  public:
    ByteArrayOwner(unsigned char *bytes, std::size_t count) : m_bytes(bytes), m_count(count) {}
    ~ByteArrayOwner();
    ByteArrayOwner(const ByteArrayOwner &) = delete;
    ByteArrayOwner &operator=(const ByteArrayOwner &) = delete;

  private:
    unsigned char *m_bytes;
    std::size_t m_count;
};

}  // namespace ecckey

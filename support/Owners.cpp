#include "support/Owners.h"

#include <cstdlib>
#include <new>

namespace ecckey {

void RefCountedObject::decRefCount() {
    if (--m_refCount == 0)
        delete this;
}

unsigned char *tvNewUnsignedChar(std::size_t count) {
    return new (std::nothrow) unsigned char[count ? count : 1];
}

void tvDeleteUnsignedChar(unsigned char *bytes) {
    delete[] bytes;
}

ByteArrayOwner::~ByteArrayOwner() {
    if (!m_bytes)
        return;
    volatile unsigned char *v = m_bytes;
    for (std::size_t i = 0; i < m_count; ++i)
        v[i] = 0;
    delete[] m_bytes;
}

}  // namespace ecckey

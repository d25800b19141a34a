#include "support/Owners.h"

#include <cstdlib>
#include <new>

#include "support/Wipe.h"

namespace ecckey {

void RefCountedObject::decRefCount() {
    if (--m_refCount == 0)
        delete this;
}

unsigned char *tvNewUnsignedChar(std::size_t count) {
    return new (std::nothrow) unsigned char[count ? count : 1];
}

// NOLINTNEXTLINE(readability-non-const-parameter): it frees the array, which a const pointer would deny
void tvDeleteUnsignedChar(unsigned char *bytes) {
    delete[] bytes;
}

ByteArrayOwner::~ByteArrayOwner() {
    if (!m_bytes)
        return;
    wipe(m_bytes, m_count);
    delete[] m_bytes;
}

}  // namespace ecckey

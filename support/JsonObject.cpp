// ClsJsonObject: nlohmann-json behind a pimpl, with every string and node on memory that is zeroed when
// freed (a JWK carries its private scalar as text).
#include "support/JsonObject.h"

#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/LogBase.h"
#include "support/StringBuffer.h"
#include "support/Wipe.h"

namespace ecckey {

namespace {

const char kMsgInvalidJson[] = "Invalid JSON.";

// std::allocator that zeroes each block before releasing it.
template <typename T>
struct WipingAllocator {
    using value_type = T;
    WipingAllocator() noexcept = default;
    template <typename U>
    WipingAllocator(const WipingAllocator<U> &) noexcept {}
    T *allocate(std::size_t n) { return std::allocator<T>().allocate(n); }
    void deallocate(T *p, std::size_t n) noexcept {
        wipe(p, n * sizeof(T));
        std::allocator<T>().deallocate(p, n);
    }
};
template <typename T, typename U>
bool operator==(const WipingAllocator<T> &, const WipingAllocator<U> &) noexcept {
    return true;
}
template <typename T, typename U>
bool operator!=(const WipingAllocator<T> &, const WipingAllocator<U> &) noexcept {
    return false;
}

using WipingString = std::basic_string<char, std::char_traits<char>, WipingAllocator<char>>;
using Json = nlohmann::basic_json<std::map, std::vector, WipingString, bool, std::int64_t, std::uint64_t,
                                  double, WipingAllocator>;

// Keys are at most a few kilobytes of JSON; these bounds keep hostile input from costing more.
const std::size_t kMaxJsonLen = 1u << 20;
const int kMaxJsonDepth = 64;

// Nesting depth of arrays and objects, counted outside strings (nlohmann's parser does not bound it).
int nestingDepth(const char *text, std::size_t len) {
    int depth = 0, maxDepth = 0;
    bool inString = false;
    for (std::size_t i = 0; i < len; ++i) {
        const char c = text[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '{' || c == '[') {
            if (++depth > maxDepth)
                maxDepth = depth;
        } else if (c == '}' || c == ']') {
            --depth;
        }
    }
    return maxDepth;
}

}  // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): json's destructor allocates as it frees a tree, the known limit
struct ClsJsonObject::Impl {
    Json root;  // null until a load succeeds: a null value, unlike an empty object, allocates nothing

    // The value at a dotted path of member names; null when any step is missing or not an object.
    const Json *find(const char *path) const {
        const Json *node = &root;
        const char *start = path;
        for (;;) {
            const char *dot = std::strchr(start, '.');
            const WipingString name(start, dot ? (std::size_t)(dot - start) : std::strlen(start));
            if (!node->is_object())
                return nullptr;
            const auto it = node->find(name);
            if (it == node->end())
                return nullptr;
            node = &*it;
            if (!dot)
                return node;
            start = dot + 1;
        }
    }
};

ClsJsonObject::ClsJsonObject() : m_impl(std::make_unique<Impl>()) {}

ClsJsonObject::~ClsJsonObject() = default;

namespace {

// nlohmann's lexer copies every character it reads into a std::vector kept for its error messages; the
// vector is emptied, not shrunk, at each string, number or literal, and finally freed unwiped, so a
// JWK's "d" would stay behind in freed memory. The text is therefore parsed as the first element of an
// array whose second element is a string longer than anything the vector has held: reading that string
// overwrites the vector to its full capacity before it grows or is freed. The wrapped copy of the text
// lives in wiped memory. Throws nlohmann's exceptions; false when the text was not one single value.
[[nodiscard]] bool parseLeavingNoCopy(const char *text, std::size_t len, Json &value) {
    const std::size_t padLen = 2 * len + 16;  // the vector's capacity is at most twice what it held
    WipingString wrapped;
    wrapped.reserve(len + padLen + 5);
    wrapped.append("[").append(text, len).append(",\"").append(padLen, 'x').append("\"]");
    Json parsed = Json::parse(wrapped.begin(), wrapped.end());
    if (parsed.size() != 2 || !parsed[1].is_string() ||
        parsed[1].get_ref<const WipingString &>().size() != padLen)
        return false;
    value = std::move(parsed[0]);
    return true;
}

}  // namespace

bool ClsJsonObject::load(const char *jsonText, LogBase &log) {
    m_impl->root = Json();
    if (!jsonText) {
        log.logError("No JSON text.");
        return false;
    }
    const std::size_t len = std::strlen(jsonText);
    if (len > kMaxJsonLen) {
        log.logError("JSON text is too large.");
        return false;
    }
    if (nestingDepth(jsonText, len) > kMaxJsonDepth) {
        log.logError("JSON nesting is too deep.");
        return false;
    }
    try {
        Json parsed;
        if (!parseLeavingNoCopy(jsonText, len, parsed)) {
            log.logError(kMsgInvalidJson);
            return false;
        }
        if (!parsed.is_object()) {
            log.logError("JSON text is not an object.");
            return false;
        }
        m_impl->root = std::move(parsed);
    } catch (const Json::parse_error &e) {
        // The parser's own message quotes the text around the error, which may be a private key:
        // only the position is logged (the wrapping adds one character in front).
        log.logError(kMsgInvalidJson);
        log.LogDataLong("byteOffset", (long)(e.byte > len ? len : (e.byte ? e.byte - 1 : 0)));
        return false;
    } catch (const std::exception &) {
        log.logError("Failed to parse JSON.");
        return false;
    }
    return true;
}

bool ClsJsonObject::hasMember(const char *name, LogBase &log) const {
    (void)log;
    if (!name)
        return false;
    return m_impl->root.contains(WipingString(name));
}

bool ClsJsonObject::sbOfPathUtf8(const char *path, StringBuffer &out, LogBase &log) const {
    if (!path)
        return false;
    const Json *value = m_impl->find(path);
    if (!value)
        return false;
    try {
        const WipingString text = value->is_string() ? value->get_ref<const WipingString &>() : value->dump();
        return out.setString("") && out.append(text.data(), (unsigned)text.size());
    } catch (const std::exception &) {
        log.logError("Failed to read a JSON value.");
        return false;
    }
}

bool ClsJsonObject::isStringAt(const char *path) const {
    const Json *value = path ? m_impl->find(path) : nullptr;
    return value != nullptr && value->is_string();
}

int ClsJsonObject::sizeOfArrayAt(const char *path) const {
    const Json *value = path ? m_impl->find(path) : nullptr;
    return value != nullptr && value->is_array() ? (int)value->size() : -1;
}

bool ClsJsonObject::loadArrayElement(const ClsJsonObject &source, const char *path, int index, LogBase &log) {
    m_impl->root = Json();
    const int size = source.sizeOfArrayAt(path);
    if (index < 0 || index >= size) {
        log.logError("No such JSON array element.");
        return false;
    }
    const Json &element = (*source.m_impl->find(path))[(std::size_t)index];
    if (!element.is_object()) {
        log.logError("JSON array element is not an object.");
        return false;
    }
    try {
        m_impl->root = element;
    } catch (const std::exception &) {
        log.logError("Failed to copy a JSON value.");
        return false;
    }
    return true;
}

}  // namespace ecckey

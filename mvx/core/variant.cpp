#include "core/variant.h"

#include "core/text.h"

#include <cstring>

namespace core {

namespace {

using internals::hash_of;

struct kind_row {
    std::uint64_t (*type_hash)() noexcept;
    variant_kind kind;
};

constexpr kind_row kind_rows[] = {
    {hash_of<bool>, variant_bool},
    {hash_of<char>, variant_integer},
    {hash_of<unsigned char>, variant_integer},
    {hash_of<short>, variant_integer},
    {hash_of<unsigned short>, variant_integer},
    {hash_of<int>, variant_integer},
    {hash_of<unsigned int>, variant_integer},
    {hash_of<long>, variant_integer},
    {hash_of<unsigned long>, variant_integer},
    {hash_of<long long>, variant_integer},
    {hash_of<unsigned long long>, variant_integer},
    {hash_of<float>, variant_floating},
    {hash_of<double>, variant_floating},
    {hash_of<std::string>, variant_text},
    {hash_of<std::wstring>, variant_text},
    {hash_of<std::vector<std::string>>, variant_text_list},
    {hash_of<std::vector<std::wstring>>, variant_text_list},
    {hash_of<std::list<std::string>>, variant_text_list},
    {hash_of<std::list<std::wstring>>, variant_text_list},
    {hash_of<std::vector<char>>, variant_bytes},
    {hash_of<std::vector<unsigned char>>, variant_bytes},
};

std::string narrowed(const std::string& text) { return text; }

std::string narrowed(const std::wstring& text) { return narrow_low_bytes(text); }

template <class List>
bool append_all(const List* source, std::vector<std::string>& target) {
    if (source == nullptr) return false;
    for (const auto& text : *source)
        target.push_back(narrowed(text));
    return true;
}

} // namespace

variant_kind internals::kind_of_type(std::uint64_t type_hash) {
    for (const kind_row& row : kind_rows) {
        if (row.type_hash() == type_hash) return row.kind;
    }
    assertion("false");
    return variant_unknown;
}

basic_variant::basic_variant(const basic_variant& other)
    : content(other.content ? other.content->clone() : nullptr), type_hash(other.type_hash),
      m_kind(other.m_kind) {}

basic_variant& basic_variant::operator=(const basic_variant& other) {
    return *this = basic_variant(other);
}

basic_variant& basic_variant::operator=(basic_variant&& other) noexcept {
    content.swap(other.content);
    type_hash = other.type_hash;
    m_kind = other.m_kind;
    return *this;
}

basic_variant::~basic_variant() = default;

void basic_variant::fail_cast(const std::type_info& wanted) {
    assertion("false");
    throw exception(std::string("Failed to cast to type: ") + wanted.name());
}

/// Reads a number as it stands behind the holder's table pointer, whatever its type.
bool basic_variant::reread_number(void* target, std::size_t size) const noexcept {
    if (!is_numeric() || !content) return false;
    static_assert(sizeof(holder<bool>) >= sizeof(void*) + sizeof(long long));
    const void* object = content.get();
    std::memcpy(target, static_cast<const unsigned char*>(object) + sizeof(void*), size);
    return true;
}

bool basic_variant::cast_into(bool& target) const {
    if (const bool* exact = held<bool>()) {
        target = *exact;
        return true;
    }
    unsigned char byte = 0;
    if (!reread_number(&byte, sizeof byte)) return false;
    target = byte != 0;
    return true;
}

bool basic_variant::cast_into(long long& target) const {
    if (const long long* exact = held<long long>()) {
        target = *exact;
        return true;
    }
    return reread_number(&target, sizeof target);
}

bool basic_variant::cast_into(std::string& target) const {
    if (const auto* exact = held<std::string>()) {
        target = *exact;
        return true;
    }
    const auto* wide = held<std::wstring>();
    return wide != nullptr && log_and_swallow([&] {
               target = narrow_low_bytes(*wide);
               return true;
           });
}

bool basic_variant::cast_into(std::vector<std::string>& target) const {
    if (const auto* exact = held<std::vector<std::string>>()) {
        target = *exact;
        return true;
    }
    return log_and_swallow([&] {
        return append_all(held<std::vector<std::wstring>>(), target) ||
               append_all(held<std::list<std::string>>(), target) ||
               append_all(held<std::list<std::wstring>>(), target);
    });
}

} // namespace core

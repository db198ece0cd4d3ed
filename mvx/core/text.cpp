#include "core/text.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utf8.h>
#include <utility>

static_assert(sizeof(wchar_t) == 4, "wide strings cross the boundary as 32-bit code points");

namespace core {

namespace {

constexpr std::uint32_t replacement_character = 0xFFFD;
constexpr std::uint32_t byte_escape = 0xDC00; // escapes the bytes 0x80 to 0xFF

constexpr bool is_high_surrogate(std::uint32_t value) { return value >= 0xD800 && value < 0xDC00; }

constexpr bool is_low_surrogate(std::uint32_t value) { return value >= 0xDC00 && value < 0xE000; }

constexpr bool is_supplementary(std::uint32_t value) {
    return value >= 0x10000 && value <= 0x10FFFF;
}

constexpr std::uint32_t high_surrogate_of(std::uint32_t value) {
    return 0xD800 + ((value - 0x10000) >> 10);
}

constexpr std::uint32_t low_surrogate_of(std::uint32_t value) { return 0xDC00 + (value & 0x3FF); }

/// An element as a number: wchar_t is signed here, and a negative one is beyond Unicode.
constexpr std::uint32_t value_of(wchar_t element) { return static_cast<char32_t>(element); }

/// Hands out a wide string's 16-bit units one after another.
class unit_reader {
public:
    explicit unit_reader(std::wstring_view text) : m_text(text) {}

    bool at_end() const { return m_pending == 0 && m_pos == m_text.size(); }

    std::uint32_t next() {
        if (m_pending != 0) return std::exchange(m_pending, 0);
        const std::uint32_t value = value_of(m_text[m_pos++]);
        if (!is_supplementary(value)) return value;
        m_pending = low_surrogate_of(value);
        return high_surrogate_of(value);
    }

private:
    std::wstring_view m_text;
    std::size_t m_pos = 0;
    std::uint32_t m_pending = 0;
};

/// Compares by 16-bit units, one after another.
bool units_less(std::wstring_view left, std::wstring_view right) {
    unit_reader left_units(left);
    unit_reader right_units(right);
    for (;;) {
        if (left_units.at_end()) return !right_units.at_end();
        if (right_units.at_end()) return false;
        const std::uint32_t left_unit = left_units.next();
        const std::uint32_t right_unit = right_units.next();
        if (left_unit != right_unit) return left_unit < right_unit;
    }
}

/// Takes the code point at `pos` and moves past it, joining a surrogate pair.
std::uint32_t take_code_point(std::wstring_view wide, std::size_t& pos) {
    const std::uint32_t value = value_of(wide[pos++]);
    if (!is_high_surrogate(value) || pos == wide.size()) return value;
    const std::uint32_t next = value_of(wide[pos]);
    if (!is_low_surrogate(next)) return value;
    ++pos;
    return 0x10000 + ((value - 0xD800) << 10) + (next - 0xDC00);
}

bool append_encodable(std::uint32_t value, std::string& bytes) {
    if (value >= byte_escape + 0x80 && value <= byte_escape + 0xFF) {
        bytes.push_back(static_cast<char>(value - byte_escape));
        return true;
    }
    if (is_high_surrogate(value) || is_low_surrogate(value) || value > 0x10FFFF) return false;
    utf8::append(static_cast<char32_t>(value), std::back_inserter(bytes));
    return true;
}

void append_lossy(std::uint32_t value, std::string& bytes) {
    if (append_encodable(value, bytes)) return;
    if (value > 0x10FFFF) {
        utf8::append(static_cast<char32_t>(replacement_character), std::back_inserter(bytes));
        return;
    }
    bytes.push_back(static_cast<char>(0xE0 | (value >> 12)));
    bytes.push_back(static_cast<char>(0x80 | ((value >> 6) & 0x3F)));
    bytes.push_back(static_cast<char>(0x80 | (value & 0x3F)));
}

} // namespace

bool u16_less::operator()(std::wstring_view left, std::wstring_view right) const noexcept {
    // Equal elements are equal units, so the first that differ decide.
    const auto [l, r] = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
    if (l == left.end() || r == right.end()) return r != right.end();
    const std::uint32_t left_value = value_of(*l);
    const std::uint32_t right_value = value_of(*r);
    if (!is_supplementary(left_value) && !is_supplementary(right_value)) {
        return left_value < right_value;
    }
    return units_less({l, left.end()}, {r, right.end()});
}

std::uint64_t leading_units(std::wstring_view text) noexcept {
    unit_reader units(text);
    std::uint64_t joined = 0;
    for (int i = 0; i != 4; ++i) {
        const std::uint32_t unit = units.at_end() ? 0 : units.next();
        joined = joined << 16 | std::min<std::uint32_t>(unit, 0xFFFF);
    }
    return joined;
}

std::wstring decode_path(std::string_view bytes) {
    std::wstring wide;
    wide.reserve(bytes.size());
    auto pos = bytes.begin();
    while (pos != bytes.end()) {
        const auto valid_end = utf8::find_invalid(pos, bytes.end());
        while (pos != valid_end) {
            wide.push_back(static_cast<wchar_t>(utf8::unchecked::next(pos)));
        }
        if (pos == bytes.end()) break;
        wide.push_back(static_cast<wchar_t>(byte_escape + static_cast<unsigned char>(*pos++)));
    }
    return wide;
}

std::optional<std::string> encode_path(std::wstring_view wide) {
    std::string bytes;
    bytes.reserve(wide.size());
    for (std::size_t pos = 0; pos != wide.size();) {
        const std::uint32_t value = take_code_point(wide, pos);
        if (value == 0 || !append_encodable(value, bytes)) return std::nullopt;
    }
    return bytes;
}

std::string encode_lossy(std::wstring_view wide) {
    std::string bytes;
    bytes.reserve(wide.size());
    for (std::size_t pos = 0; pos != wide.size();)
        append_lossy(take_code_point(wide, pos), bytes);
    return bytes;
}

std::wstring decode_utf8(std::string_view bytes) {
    if (!utf8::is_valid(bytes.begin(), bytes.end())) throw std::range_error("bad conversion");
    return decode_path(bytes);
}

std::wstring widen_bytes(std::string_view bytes) {
    std::wstring wide;
    wide.reserve(bytes.size());
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        wide.push_back(static_cast<wchar_t>(value < 0x80 ? value : 0xFF00 + value));
    }
    return wide;
}

std::string narrow_low_bytes(std::wstring_view wide) {
    std::string bytes;
    bytes.reserve(wide.size());
    for (unit_reader units(wide); !units.at_end();) {
        bytes.push_back(static_cast<char>(units.next() & 0xFF));
    }
    return bytes;
}

std::wstring join_path(std::wstring_view left, std::wstring_view right) {
    std::wstring joined(left);
    if (right.empty()) return joined;
    if (!left.empty() && left.back() != L'/' && right.front() != L'/') joined += L'/';
    joined += right;
    return joined;
}

} // namespace core

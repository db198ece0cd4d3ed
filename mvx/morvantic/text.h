#pragma once

#include "morvantic/export.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// @file
/// The engine takes names and paths as wide strings, one Unicode code point an element; a host on
/// this platform mostly holds them as UTF-8. These two functions convert by the engine's own
/// scheme, under which any name that a file system can hold survives the way there and back.
///
/// @code
/// engine::CScript script(engine::to_wide("Chats/Mail.sc").c_str());
/// while (const wchar_t* name = storage.next()) std::cout << engine::to_utf8(name) << '\n';
/// @endcode
///
/// Both throw nothing but std::bad_alloc and may be called from any thread.

namespace engine {

namespace text_detail {

constexpr bool is_high_surrogate(std::uint32_t value) noexcept {
    return value >= 0xD800 && value < 0xDC00;
}

constexpr bool is_low_surrogate(std::uint32_t value) noexcept {
    return value >= 0xDC00 && value < 0xE000;
}

/// How many bytes a sequence has that begins with this byte; 0 if none does.
constexpr std::size_t sequence_length(std::uint32_t lead) noexcept {
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead < 0xE0) return 2;
    if (lead >= 0xE0 && lead < 0xF0) return 3;
    if (lead >= 0xF0 && lead < 0xF5) return 4;
    return 0;
}

/// Takes the code point at `pos` and moves past it. A byte that begins no strict sequence is taken
/// alone, as U+DC00 plus the byte.
inline std::uint32_t take_from_utf8(std::string_view bytes, std::size_t& pos) noexcept {
    constexpr std::uint32_t lead_bits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};

    const auto lead = static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[pos]));
    const std::size_t start = pos++; // as far as a byte that is taken alone leads
    const std::uint32_t escaped = 0xDC00 + lead;
    const std::size_t length = sequence_length(lead);
    if (length == 0 || length > bytes.size() - start) return escaped;

    std::uint32_t value = lead & lead_bits[length];
    for (std::size_t i = 1; i != length; ++i) {
        const auto byte = static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[start + i]));
        if ((byte & 0xC0) != 0x80) return escaped;
        value = (value << 6) | (byte & 0x3F);
    }
    const bool is_surrogate = is_high_surrogate(value) || is_low_surrogate(value);
    if (value < smallest[length] || value > 0x10FFFF || is_surrogate) return escaped;
    pos = start + length;
    return value;
}

/// Takes the code point at `pos` and moves past it, joining a pair of surrogates.
inline std::uint32_t take_from_wide(std::wstring_view wide, std::size_t& pos) noexcept {
    const std::uint32_t value = static_cast<char32_t>(wide[pos++]);
    if (!is_high_surrogate(value) || pos == wide.size()) return value;
    const std::uint32_t next = static_cast<char32_t>(wide[pos]);
    if (!is_low_surrogate(next)) return value;
    ++pos;
    return 0x10000 + ((value - 0xD800) << 10) + (next - 0xDC00);
}

/// Appends a code point in one to four bytes, or the one byte that it escapes.
inline void append_utf8(std::string& bytes, std::uint32_t value) {
    const auto append = [&bytes](std::uint32_t byte) { bytes.push_back(static_cast<char>(byte)); };
    if (value > 0x10FFFF) value = 0xFFFD;
    if (value < 0x80) return append(value);
    if (value >= 0xDC80 && value <= 0xDCFF) return append(value - 0xDC00);
    if (value < 0x800) {
        append(0xC0 | (value >> 6));
    } else {
        if (value < 0x10000) {
            append(0xE0 | (value >> 12));
        } else {
            append(0xF0 | (value >> 18));
            append(0x80 | ((value >> 12) & 0x3F));
        }
        append(0x80 | ((value >> 6) & 0x3F));
    }
    append(0x80 | (value & 0x3F));
}

} // namespace text_detail

/// UTF-8 to wide. A byte that is part of no valid sequence becomes U+DC00 plus the byte, so that
/// to_utf8 gives back exactly the same bytes, whatever they are.
inline std::wstring to_wide(std::string_view bytes) {
    std::wstring wide;
    wide.reserve(bytes.size());
    for (std::size_t pos = 0; pos != bytes.size();) {
        wide.push_back(static_cast<wchar_t>(text_detail::take_from_utf8(bytes, pos)));
    }
    return wide;
}

/// Wide to UTF-8. A pair of surrogates becomes the one code point that it means, an element from
/// U+DC80 to U+DCFF the byte that it stands for, another lone surrogate its three-byte form, and a
/// value beyond Unicode U+FFFD.
inline std::string to_utf8(std::wstring_view wide) {
    std::string bytes;
    bytes.reserve(wide.size());
    for (std::size_t pos = 0; pos != wide.size();) {
        text_detail::append_utf8(bytes, text_detail::take_from_wide(wide, pos));
    }
    return bytes;
}

} // namespace engine

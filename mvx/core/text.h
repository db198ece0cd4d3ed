#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>

// Every conversion between wide and narrow text, and the order of wide names. A wide string holds
// Unicode code points, one an element; a pair of surrogate elements means the one code point.

namespace core {

/// Orders wide names by their 16-bit code units, an element above 0xFFFF counting as its two; a
/// prefix comes before the longer name. Transparent, so that a view can be looked up.
struct u16_less {
    using is_transparent = void;
    bool operator()(std::wstring_view left, std::wstring_view right) const noexcept;
};

/// The first four 16-bit units as one number, zeros for those that are not there. Of two names
/// without a NUL, the one with the smaller number is the smaller.
std::uint64_t leading_units(std::wstring_view text) noexcept;

using name_set = std::set<std::wstring, u16_less>;

/// Bytes to wide. Valid UTF-8 becomes code points; a byte that is part of no valid sequence becomes
/// U+DC00 plus the byte, so that encode_path gives the same bytes back. Never fails.
std::wstring decode_path(std::string_view bytes);

/// Wide to the bytes that the platform takes as a path. Empty if there are no such bytes: a lone
/// surrogate outside U+DC80..U+DCFF, a value beyond Unicode, or a NUL.
std::optional<std::string> encode_path(std::wstring_view wide);

/// Wide to UTF-8 that any text file can hold. As encode_path, but total: a lone surrogate gets its
/// three-byte form, a value beyond Unicode becomes U+FFFD, a NUL stays.
std::string encode_lossy(std::wstring_view wide);

/// Strict UTF-8 to wide. Throws std::range_error "bad conversion".
std::wstring decode_utf8(std::string_view bytes);

/// Each byte sign-extended to 16 bits: 0xE9 becomes U+FFE9.
std::wstring widen_bytes(std::string_view bytes);

/// The low 8 bits of each 16-bit unit. The result may hold a NUL.
std::string narrow_low_bytes(std::wstring_view wide);

/// `left` and `right` with one "/" between them, unless one of them brings it or `left` is empty.
/// An empty `right` leaves `left` as it is.
std::wstring join_path(std::wstring_view left, std::wstring_view right);

} // namespace core

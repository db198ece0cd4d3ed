#pragma once

#include <string>
#include <string_view>

namespace tool {

/// A script's text in its one layout: a statement a line, four blanks for each open brace, comments
/// where they were, and lines of up to 100 characters, as far as commas allow. Lines end in
/// carriage returns only if all of them did. The tokens stay, so the engine makes the same of it,
/// and a formatted text does not change any more.
///
/// Throws failure, the input's, with `shown` in front, for a text whose tokens depend on more than
/// what can be seen: an open comment or string, a slash alone, and bytes from 0x80 on outside
/// strings and comments; and for one whose statements run together: brackets that do not match, a
/// semicolon that is missing at the end of a line.
std::string formatted(std::string_view text, const std::string& shown);

} // namespace tool

#include "log_lines.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace tool {

namespace {

// 2026-11-12 08:15:30Z  (0x1a2c) ERROR    mvx\core\debug(74): text
constexpr std::string_view stamp_pattern = "9999-99-99 99:99:99Z  (0x";
constexpr std::size_t level_width = 9;

bool matches(std::string_view text, std::string_view pattern) {
    if (text.size() < pattern.size()) return false;
    for (std::size_t i = 0; i != pattern.size(); ++i) {
        const bool is_digit = text[i] >= '0' && text[i] <= '9';
        if (pattern[i] == '9' ? !is_digit : text[i] != pattern[i]) return false;
    }
    return true;
}

/// Empty if the line goes on with the text of the one before.
std::optional<log_line> begun_by(std::string_view text) {
    if (!matches(text, stamp_pattern)) return {};
    const std::size_t tag_end = text.find(") ", stamp_pattern.size());
    if (tag_end == std::string_view::npos) return {};
    std::string_view rest = text.substr(tag_end + 2);
    const std::size_t open = rest.find('(');
    const std::size_t close = rest.find("): ", open);
    if (open == std::string_view::npos || close == std::string_view::npos || open < level_width) {
        return {};
    }
    log_line line;
    line.level = rest.substr(0, rest.find(' '));
    line.module = rest.substr(level_width, open - level_width);
    std::from_chars(rest.data() + open + 1, rest.data() + close, line.line);
    line.text = rest.substr(close + 3);
    return line;
}

} // namespace

std::vector<log_line> parse_log(std::string_view content) {
    std::vector<log_line> lines;
    while (!content.empty()) {
        const std::size_t length = content.find('\n');
        const std::string_view text = content.substr(0, length);
        content.remove_prefix(std::min(content.size(), text.size() + 1));
        if (std::optional<log_line> line = begun_by(text)) {
            lines.push_back(*std::move(line));
        } else if (!lines.empty()) {
            lines.back().text.append(1, '\n').append(text);
        }
    }
    return lines;
}

} // namespace tool

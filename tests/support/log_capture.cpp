#include "support/log_capture.h"

#include "core/debug.h"

#include <algorithm>
#include <optional>
#include <sstream>

namespace support {

namespace {

constexpr std::size_t stamp_length = 22; // "2026-11-12 08:15:30Z" and two blanks
constexpr std::size_t word_length = 9;

bool all_match(std::string_view text, std::string_view pattern) {
    if (text.size() < pattern.size()) return false;
    for (std::size_t i = 0; i != pattern.size(); ++i) {
        const bool digit = text[i] >= '0' && text[i] <= '9';
        if (pattern[i] == '9' ? !digit : text[i] != pattern[i]) return false;
    }
    return true;
}

/// Takes a line apart; empty if it does not have the log's format.
std::optional<log_line> parsed(std::string_view text) {
    if (!all_match(text, "9999-99-99 99:99:99Z  (0x")) return {};
    const std::size_t tag_end = text.find(") ", stamp_length);
    if (tag_end == std::string_view::npos) return {};
    std::string_view rest = text.substr(tag_end + 2);
    if (rest.size() < word_length) return {};
    std::string level(rest.substr(0, word_length));
    level.erase(level.find_last_not_of(' ') + 1);
    rest.remove_prefix(word_length);

    const std::size_t open = rest.find('(');
    const std::size_t close = rest.find("): ", open);
    if (open == std::string_view::npos || close == std::string_view::npos) return {};
    return log_line{level, std::string(rest.substr(0, open)),
                    std::stoi(std::string(rest.substr(open + 1, close - open - 1))),
                    std::string(rest.substr(close + 3))};
}

} // namespace

log_capture::log_capture(std::int16_t level) : m_path(m_folder.file("morvantic.log")) {
    core::close_log();
    core::open_log(m_folder.wide_path().c_str(), L"morvantic.log");
    core::set_log_level(level, false);
}

log_capture::~log_capture() { core::close_log(); }

std::vector<log_line> log_capture::lines() const {
    std::vector<log_line> lines;
    std::istringstream content(read_file(m_path).substr(m_start));
    for (std::string text; std::getline(content, text);) {
        if (std::optional<log_line> line = parsed(text)) {
            lines.push_back(*std::move(line));
        } else if (!lines.empty()) {
            lines.back().text += "\n" + text;
        }
    }
    return lines;
}

std::vector<std::string> log_capture::summary() const {
    std::vector<std::string> summary;
    for (const log_line& line : lines()) {
        const std::string module = line.module.substr(line.module.rfind('\\') + 1);
        summary.push_back(line.level + " " + module + ": " + line.text);
    }
    return summary;
}

int log_capture::count(std::string_view text) const {
    const std::vector<log_line> all = lines();
    return static_cast<int>(std::count_if(all.begin(), all.end(),
                                          [&](const log_line& line) { return line.text == text; }));
}

void log_capture::clear() { m_start = read_file(m_path).size(); }

} // namespace support

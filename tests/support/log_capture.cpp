#include "support/log_capture.h"

#include "core/debug.h"

#include <algorithm>

namespace support {

log_capture::log_capture(std::int16_t level) : m_path(m_folder.file("morvantic.log")) {
    core::close_log();
    core::open_log(m_folder.wide_path().c_str(), L"morvantic.log");
    core::set_log_level(level, false);
}

log_capture::~log_capture() { core::close_log(); }

std::vector<log_line> log_capture::lines() const {
    return tool::parse_log(std::string_view(read_file(m_path)).substr(m_start));
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

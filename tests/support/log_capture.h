#pragma once

#include "support/temp_folder.h"
#include "tools/morvantic/log_lines.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace support {

using tool::log_line;

/// Opens the log in a folder of its own and hands back what was written.
class log_capture {
public:
    /// `level` 5 shows assertions.
    explicit log_capture(std::int16_t level = 5);
    log_capture(const log_capture&) = delete;
    log_capture& operator=(const log_capture&) = delete;
    ~log_capture();

    const std::string& path() const { return m_path; }

    /// All lines since the start or the last clear().
    std::vector<log_line> lines() const;

    /// The same lines as "LEVEL module: text", the module without its folders.
    std::vector<std::string> summary() const;

    /// How many lines have exactly this text.
    int count(std::string_view text) const;

    void clear();

private:
    temp_folder m_folder;
    std::string m_path;
    std::size_t m_start = 0;
};

} // namespace support

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// One line of the engine's log, taken apart. Lines that a message itself breaks belong to its
/// text.
struct log_line {
    std::string level;  // "ERROR", "Debug", ...
    std::string module; // "mvx\core\debug"
    int line = 0;
    std::string text;
};

std::vector<log_line> parse_log(std::string_view content);

} // namespace tool

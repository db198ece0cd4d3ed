#pragma once

#include "descriptor.h"

#include <string>
#include <string_view>
#include <vector>

namespace tool {

struct log_message {
    std::string level; // "ERROR", "Info", ...
    std::string text;  // may have several lines
};

/// The engine's log, opened for as long as this lives, and read while it is written. The engine
/// must have no log yet. The file has no name, so nothing of it stays behind.
class engine_log {
public:
    /// Throws std::system_error if there can be no log.
    engine_log();
    engine_log(const engine_log&) = delete;
    engine_log& operator=(const engine_log&) = delete;
    ~engine_log();

    /// What the engine has said since the last call. What it repeats, since a failure is logged at
    /// each level that it passes, is left out.
    std::vector<log_message> take_new();

    /// Throws std::system_error if what the engine logs does not arrive, as on a full disk.
    void check() const;

private:
    descriptor m_file;
    std::string m_last_error; // empty if something else was said last
};

} // namespace tool

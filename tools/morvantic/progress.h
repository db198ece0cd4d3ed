#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace tool {

/// A bar on standard error for work that takes long. It shows on a terminal alone, after the first
/// second, and is wiped out at the end.
class progress {
public:
    /// `total` counts whatever advance() counts.
    progress(std::string label, std::uint64_t total);
    progress(const progress&) = delete;
    progress& operator=(const progress&) = delete;
    ~progress();

    void advance(std::uint64_t amount);

private:
    using clock = std::chrono::steady_clock;

    void draw();

    std::string m_label;
    std::uint64_t m_total;
    std::uint64_t m_done = 0;
    bool m_on_terminal;
    bool m_visible = false;
    clock::time_point m_next_draw;
};

} // namespace tool

#include "progress.h"

#include "output.h"

#include <algorithm>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace tool {

namespace {

using namespace std::chrono_literals;

constexpr auto quiet_time = 1s;
constexpr auto redraw_time = 100ms;
constexpr std::size_t widest_bar = 40;

std::size_t terminal_width() {
    winsize size{};
    const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
    return known ? size.ws_col : 80;
}

} // namespace

progress::progress(std::string label, std::uint64_t total)
    : m_label(std::move(label)), m_total(total), m_on_terminal(isatty(STDERR_FILENO) == 1),
      m_next_draw(clock::now() + quiet_time) {}

progress::~progress() {
    if (m_visible) error_text_block("\r\x1b[K");
}

void progress::advance(std::uint64_t amount) {
    m_done += amount;
    if (!m_on_terminal || clock::now() < m_next_draw) return;
    m_next_draw = clock::now() + redraw_time;
    m_visible = true;
    draw();
}

void progress::draw() {
    const double share =
        m_total == 0 ? 1.0
                     : std::min(1.0, static_cast<double>(m_done) / static_cast<double>(m_total));
    const std::string percent = std::to_string(static_cast<int>(share * 100)) + '%';
    const std::size_t around = m_label.size() + sizeof(" [] 100% ");
    const std::size_t width = terminal_width();
    const std::size_t room = width > around ? std::min(width - around, widest_bar) : 0;
    const auto filled = static_cast<std::size_t>(share * static_cast<double>(room));
    error_text_block('\r' + m_label + " [" + std::string(filled, '#') +
                     std::string(room - filled, '.') + "] " + percent + "\x1b[K");
}

} // namespace tool

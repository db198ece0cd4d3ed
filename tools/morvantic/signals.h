#pragma once

#include <array>
#include <csignal>

namespace tool {

/// By which a person or the system ends a command.
inline constexpr std::array<int, 3> ending_signals = {SIGINT, SIGTERM, SIGHUP};

/// Keeps the ending signals waiting for the length of a scope.
class signals_blocked {
public:
    signals_blocked() {
        sigset_t set;
        sigemptyset(&set);
        for (const int signal : ending_signals)
            sigaddset(&set, signal);
        sigprocmask(SIG_BLOCK, &set, &m_before);
    }

    signals_blocked(const signals_blocked&) = delete;
    signals_blocked& operator=(const signals_blocked&) = delete;

    ~signals_blocked() { sigprocmask(SIG_SETMASK, &m_before, nullptr); }

private:
    sigset_t m_before;
};

} // namespace tool

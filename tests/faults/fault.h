#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>

// One fault, planned for one call of one function. The program's own operator new and its own
// versions of what the engine calls of the system ask here, and fail as they are told.

namespace faults {

constexpr int cut_short = -1; // in place of an error number: the call does half of its work

struct plan {
    std::string_view function{};    // "new", or a function of the system
    int error = 0;                  // that the call fails with
    std::uint64_t at = 0;           // which call, from 1; none if 0
    bool lasting = false;           // and all calls from there on
    std::function<void()> action{}; // run in front of the call, which does not fail then
};

/// Carries out a plan while it lives, on this thread.
class armed {
public:
    explicit armed(const plan& planned) : m_plan(planned) { current = this; }

    ~armed() { current = nullptr; }

    bool reached() const noexcept { return m_plan.at != 0 && m_calls >= m_plan.at; }

private:
    friend class suspended;
    friend bool fails(const char* function);

    inline static thread_local armed* current = nullptr;
    const plan& m_plan;
    std::uint64_t m_calls = 0;
};

/// The test's own doings, which neither count nor fail.
class suspended {
public:
    ~suspended() { armed::current = m_before; }

private:
    armed* m_before = std::exchange(armed::current, nullptr);
};

/// Of operator new, without those that sections leave by design.
std::ptrdiff_t live_allocations();

} // namespace faults

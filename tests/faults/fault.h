#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

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
    explicit armed(const plan& planned);
    armed(const armed&) = delete;
    armed& operator=(const armed&) = delete;
    ~armed();

    /// How often the function has been called.
    std::uint64_t calls() const noexcept { return m_calls; }

    bool reached() const noexcept { return m_plan.at != 0 && m_calls >= m_plan.at; }

private:
    friend bool fails(const char* function);

    const plan& m_plan;
    std::uint64_t m_calls = 0;
};

/// The test's own doings, which neither count nor fail.
class suspended {
public:
    suspended() noexcept;
    suspended(const suspended&) = delete;
    suspended& operator=(const suspended&) = delete;
    ~suspended();

private:
    armed* m_before;
};

/// Whether this very call is the one to fail; errno says how, and is `cut_short` for half a call.
bool fails(const char* function);

/// What is held of the process.
struct footprint {
    std::ptrdiff_t allocations; // of operator new, without those that sections leave by design
    int descriptors;
};

footprint held();

} // namespace faults

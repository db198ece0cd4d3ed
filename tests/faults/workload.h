#pragma once

#include "faults/fault.h"
#include "support/test_keys.h"
#include "support/test_streams.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace faults {

/// What came of one step: what the engine delivered, or `failed` for a failure that the host was
/// told of, by a std::exception, by a code or by null.
struct result {
    std::string step;
    std::string text;

    bool operator==(const result&) const = default;
};

inline constexpr const char* failed = "failed";

struct outcome {
    std::vector<result> steps;
    std::vector<std::string> log; // up to the turnover, each line from its level word on
    std::uint64_t calls = 0;      // of the function that the plan names
    bool reached = false;         // whether the planned call came
    bool log_ended = false;       // by a turnover that failed, which leaves the log's lock held
};

/// A fixed piece of a host's life: opens a log, installs an encrypted package, lists, reads a
/// script and files, adds a folder, has the log turn over, and takes all of it down again.
class workload {
public:
    workload();

    outcome run(const plan& fault = {});

    /// Puts the package back as it was made.
    void restore_package() const;

    const std::string& package_path() const { return m_package_path; }

    std::string log_path() const { return m_folder.file("log/morvantic.log"); }

    std::uint64_t package_size() const { return m_package.size(); }

private:
    void clear_log() const;

    support::temp_folder m_folder;
    support::bytes m_package;
    std::string m_package_path;
};

/// Whether a fault may have left this of what the step gives without one.
bool is_described(const result& faulty, const result& sound);

} // namespace faults

#pragma once

#include "faults/fault.h"
#include "support/test_keys.h"
#include "support/test_streams.h"

#include <string>
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
    bool reached = false;         // whether the planned call came
    bool log_ended = false;       // by a turnover that failed, which leaves the log's lock held
};

/// A fixed piece of a host's life: opens a log, installs an encrypted package, lists, reads a
/// script and files, adds a folder, has the log turn over, and takes all of it down again.
class workload {
public:
    workload();

    outcome run(const plan& fault = {}) const;

    /// Puts the package back as it was made.
    void restore_package() const;

    std::string package_path() const { return m_folder.file("mail.pkg"); }

private:
    support::temp_folder m_folder;
    support::bytes m_package;
};

/// Whether a fault may have left this of what the step gives without one.
bool is_described(const result& faulty, const result& sound);

} // namespace faults

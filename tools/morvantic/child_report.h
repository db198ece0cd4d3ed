#pragma once

#include "script_report.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tool {

/// What a process of its own has made of an installed script.
struct child_report {
    std::string written;     // empty if the script does not apply
    bool has_errors = false; // the engine finds some
    std::string fault;       // a sentence that says why there is no report
};

using report_writer = std::function<std::string(const script_report&)>;

/// Has the engine read an installed script, of which the text is given too, in a process of its
/// own, since some texts are read without end. Throws failure, the call's, if there can be none.
child_report report_in_child(const std::wstring& name, std::string_view text,
                             const std::optional<app_query>& query, const report_writer& write);

} // namespace tool

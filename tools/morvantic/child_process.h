#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace tool {

/// How work ended that was done in a process of its own.
struct child_result {
    std::string output;
    bool finished = false;    // it returned
    bool out_of_time = false; // it was stopped, since it had used up its processor time
};

using text_sink = std::function<void(std::string_view)>;

/// Does work in a copy of this process and collects what it hands to its sink. So it may read what
/// it would otherwise wait for without end. Throws std::system_error if there can be no process.
child_result run_in_child(unsigned processor_seconds,
                          const std::function<void(const text_sink&)>& work);

} // namespace tool

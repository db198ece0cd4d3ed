#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace tool {

/// How work ended that was done in a process of its own.
struct child_result {
    std::string output;
    bool finished = false;    // it returned
    bool out_of_time = false; // a processor_limit ended it
    int signal = 0;           // what else ended it, if a signal did
};

using text_sink = std::function<void(std::string_view)>;

/// Does work in a copy of this process and collects what it hands to its sink. Throws
/// std::system_error if there can be no process.
child_result run_in_child(const std::function<void(const text_sink&)>& work);

/// Ends the process if it needs more processor time than this while the object lives. For work in a
/// child that may never end.
class processor_limit {
public:
    explicit processor_limit(unsigned seconds);
    processor_limit(const processor_limit&) = delete;
    processor_limit& operator=(const processor_limit&) = delete;
    ~processor_limit();
};

} // namespace tool

#pragma once

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

// How a command ends when it cannot do its work.

namespace tool {

enum exit_status : int {
    status_ok = 0,
    status_input = 1, // what was given to work on is at fault
    status_call = 2,  // the call is: its options, or files that cannot be opened or written
};

/// Ends the command with a sentence for people: what is wrong with which file, and what to do.
class failure : public std::runtime_error {
public:
    failure(exit_status status, const std::string& sentence)
        : std::runtime_error(sentence), m_status(status) {}

    exit_status status() const noexcept { return m_status; }

private:
    exit_status m_status;
};

/// The reader of standard output has gone away: the command cleans up and says nothing.
struct output_closed {};

[[noreturn]] inline void fail_input(const std::string& sentence) {
    throw failure(status_input, sentence);
}

[[noreturn]] inline void fail_call(const std::string& sentence) {
    throw failure(status_call, sentence);
}

/// The platform's words for an error number.
inline std::string error_text(int number) { return std::generic_category().message(number); }

} // namespace tool

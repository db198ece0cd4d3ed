#pragma once

#include "support/temp_folder.h"
#include "support/test_keys.h"

#include <string>
#include <sys/types.h>
#include <vector>

namespace tools_test {

struct run_result {
    int status = -1; // of the exit, or 128 plus the signal that ended it
    std::string out;
    std::string err;
};

/// Where the standard descriptors of a process lead, by path.
struct redirection {
    std::string in = "/dev/null";
    std::string out{};         // empty: captured; "-": closed
    std::string environment{}; // one variable, as NAME=value
};

/// Arguments out of a text with blanks between them.
std::vector<std::string> words(const std::string& text);

/// Runs the command "morvantic" and waits for it.
run_result run(const std::vector<std::string>& arguments, const redirection& where = {});

/// Starts it with a given standard output and does not wait.
pid_t start(const std::vector<std::string>& arguments, const redirection& where, int out, int err);

/// Its exit status as in run_result.
int wait_for(pid_t process);

/// Runs it with a terminal for standard output and standard error, and returns what came there.
std::string run_on_terminal(const std::vector<std::string>& arguments);

std::string public_key();
std::string private_key();

} // namespace tools_test

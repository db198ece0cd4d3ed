#pragma once

#include "support/test_keys.h"

#include <cstdlib>
#include <sys/wait.h>

namespace tools_test {

struct run_result {
    int status; // of the exit, or 128 plus the signal that ended it
    std::string out;
    std::string err;
};

/// Has the shell run the command "morvantic", with variables as NAME=value in front of it. The
/// arguments may end in redirections.
inline run_result run(const std::string& arguments, const std::string& variables = "") {
    const support::temp_folder folder;
    const std::string out = folder.file("out");
    const std::string err = folder.file("err");
    const std::string command = "{ " + variables + " " TOOL_PATH " " + arguments + "\n}";
    const int status = std::system((command + " </dev/null >" + out + " 2>" + err).c_str());
    return {WEXITSTATUS(status), support::read_file(out), support::read_file(err)};
}

/// Runs it with a terminal for its standard descriptors, and returns what came there.
inline std::string run_on_terminal(const std::string& arguments) {
    return support::output_of("script -E never -qec '" TOOL_PATH " " + arguments +
                              "' /dev/null </dev/null");
}

inline std::string public_key() { return support::test_keys::signing().public_path(); }

inline std::string private_key() { return support::test_keys::signing().private_path(); }

} // namespace tools_test

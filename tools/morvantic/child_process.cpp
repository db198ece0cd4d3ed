#include "child_process.h"

#include "descriptor.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>

namespace tool {

namespace {

[[noreturn]] void fail_system() {
    throw std::system_error(errno, std::generic_category(), "cannot start a process");
}

std::span<const std::uint8_t> bytes_of(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// Ends without the cleaning up that belongs to the parent, such as of temporary files.
[[noreturn]] void be_child(int output, unsigned processor_seconds,
                           const std::function<void(const text_sink&)>& work) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const rlimit no_core = {0, 0};
    setrlimit(RLIMIT_CORE, &no_core);
    const rlimit time = {processor_seconds, processor_seconds};
    setrlimit(RLIMIT_CPU, &time);
    try {
        work([output](std::string_view text) { write_all(output, bytes_of(text)); });
    } catch (...) {
        _exit(EXIT_FAILURE);
    }
    _exit(EXIT_SUCCESS);
}

std::string read_to_end(int input) {
    std::string text;
    std::array<std::uint8_t, 65536> buffer;
    while (const std::size_t got = read_some(input, buffer))
        text.append(buffer.begin(), buffer.begin() + got);
    return text;
}

int wait_for(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) fail_system();
    }
    return status;
}

} // namespace

child_result run_in_child(unsigned processor_seconds,
                          const std::function<void(const text_sink&)>& work) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) fail_system();
    descriptor input(ends[0]);
    descriptor output(ends[1]);

    const pid_t child = fork();
    if (child < 0) fail_system();
    if (child == 0) be_child(output.number(), processor_seconds, work);
    output = descriptor();

    child_result result;
    result.output = read_to_end(input.number());
    const int status = wait_for(child);
    result.finished = WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
    // At the soft limit comes SIGXCPU, at the hard one SIGKILL: both are the same here.
    result.out_of_time =
        WIFSIGNALED(status) && (WTERMSIG(status) == SIGXCPU || WTERMSIG(status) == SIGKILL);
    return result;
}

} // namespace tool

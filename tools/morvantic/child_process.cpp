#include "child_process.h"

#include "descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <span>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace tool {

namespace {

[[noreturn]] void fail_system() {
    throw std::system_error(errno, std::generic_category(), "cannot start a process");
}

std::span<const std::uint8_t> bytes_of(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// Up to the limit that the process has been given, if any.
void limit_processor_time(rlim_t seconds) noexcept {
    rlimit time{};
    getrlimit(RLIMIT_CPU, &time);
    time.rlim_cur = std::min(seconds, time.rlim_max);
    setrlimit(RLIMIT_CPU, &time);
}

/// Goes with its parent, and ends without the cleaning up that is the parent's, as of files.
[[noreturn]] void be_child(pid_t parent, int output,
                           const std::function<void(const text_sink&)>& work) {
    if (prctl(PR_SET_PDEATHSIG, SIGTERM) != 0 || getppid() != parent) _exit(EXIT_FAILURE);
    const rlimit no_core = {0, 0};
    setrlimit(RLIMIT_CORE, &no_core);
    std::signal(SIGXCPU, SIG_DFL);
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

child_result run_in_child(const std::function<void(const text_sink&)>& work) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) fail_system();
    descriptor input(ends[0]);
    descriptor output(ends[1]);

    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child < 0) fail_system();
    if (child == 0) {
        input = descriptor(); // or nobody would tell it that the parent has gone
        be_child(parent, output.number(), work);
    }
    output = descriptor();

    child_result result;
    result.output = read_to_end(input.number());
    const int status = wait_for(child);
    result.finished = WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
    result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    result.out_of_time = result.signal == SIGXCPU;
    return result;
}

processor_limit::processor_limit(unsigned seconds) {
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    limit_processor_time(static_cast<rlim_t>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) + 1 +
                         seconds);
}

processor_limit::~processor_limit() { limit_processor_time(RLIM_INFINITY); }

} // namespace tool

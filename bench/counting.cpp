#include "harness.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <unistd.h>
#include <valgrind/callgrind.h>

// The marks: callgrind is told by its client requests when to begin and when to stop, strace shows
// the closing of a descriptor that cannot be.

namespace bench {

namespace {

constexpr int mark = -4242;
constexpr const char* mark_text = "close(-4242)";

/// The lines of strace between the marks.
std::optional<double> calls_in(std::istream& report) {
    double calls = 0;
    int marks = 0;
    for (std::string line; marks != 2 && std::getline(report, line);) {
        if (line.find(mark_text) != std::string::npos) {
            ++marks;
        } else if (marks == 1) {
            ++calls;
        }
    }
    return marks == 2 ? std::optional(calls) : std::nullopt;
}

std::optional<double> instructions_in(std::istream& report) {
    const std::string head = "totals: ";
    for (std::string line; std::getline(report, line);) {
        if (line.starts_with(head)) return std::stod(line.substr(head.size()));
    }
    return std::nullopt;
}

std::string quoted(const std::string& path) { return "'" + path + "'"; }

} // namespace

void count(const row& counted, std::size_t number, const settings& how, result& found) {
    const std::string path = how.data + "/counts." + std::to_string(::getpid());
    const std::string once = " " + quoted(how.program) + " --data " + quoted(how.data) +
                             " --once " + counted.name + ":" + std::to_string(number) +
                             " >/dev/null 2>&1";
    const auto count_by = [&](const std::string& tool, auto read) -> std::optional<double> {
        std::filesystem::remove(path);
        // A tool that takes too long, or is not there, leaves no report.
        if (std::system(("timeout 60 " + tool + quoted(path) + once).c_str()) != 0) return {};
        std::ifstream report(path);
        return read(report);
    };
    found.calls = count_by("strace -s 0 -o ", calls_in);
    found.instructions = count_by(
        "valgrind --tool=callgrind --instr-atstart=no --callgrind-out-file=", instructions_in);
    std::filesystem::remove(path);
}

void run_between_marks(const subject& one) {
    const work counted = one.prepare();
    if (!counted.run) return;
    counted.run(nullptr);
    ::close(mark);
    CALLGRIND_START_INSTRUMENTATION;
    counted.run(nullptr);
    CALLGRIND_STOP_INSTRUMENTATION;
    ::close(mark);
}

} // namespace bench

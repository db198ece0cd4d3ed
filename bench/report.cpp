#include "report.h"

#include "support/temp_folder.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <ostream>
#include <sys/utsname.h>
#include <thread>

namespace bench {

namespace {

struct column {
    const char* head;
    std::size_t width;
};

constexpr column columns[] = {{"row", 14},  {"subject", 15}, {"time", 7},  {"spread", 6},
                              {"ratio", 5}, {"aim", 15},     {"calls", 6}, {"instr.", 6}};

using cells = std::array<std::string, std::size(columns)>;

void print(std::ostream& target, const cells& line) {
    for (std::size_t i = 0; i != line.size(); ++i) {
        const std::size_t missing = columns[i].width - std::min(columns[i].width, line[i].size());
        target << "| " << line[i] << std::string(missing + 1, ' ');
    }
    target << "|" << std::endl;
}

std::string formatted(const char* format, double value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), format, value);
    return text.data();
}

/// Three digits, and the unit that leaves the fewest of them in front of the point.
std::string three_digits(double value, std::initializer_list<const char*> units) {
    const char* const* unit = units.begin();
    for (; value >= 999.5 && unit + 1 != units.end(); ++unit)
        value /= 1000;
    return formatted(value >= 99.95 ? "%.0f" : value >= 9.995 ? "%.1f" : "%.2f", value) + *unit;
}

std::string count_text(const std::optional<double>& count) {
    return count ? three_digits(*count, {"", "k", "M", "G"}) : "-";
}

std::string verdict(double value, double most, const char* what) {
    return what + formatted("%.4g ", most) + (value <= most * 1.005 ? "met" : "short");
}

/// What is asked of the engine's own counts.
std::string verdict_on_counts(const row& measured, const result& engine) {
    if (measured.most_calls != 0 && engine.calls) {
        return verdict(*engine.calls, measured.most_calls, "calls ");
    }
    if (measured.most_instructions != 0 && engine.instructions) {
        return verdict(*engine.instructions, measured.most_instructions, "instr. ");
    }
    return {};
}

/// What follows the colon in the first line of a system file that begins with `key`.
std::string told_by(const char* path, const std::string& key) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
        if (line.starts_with(key))
            return line.substr(line.find_first_not_of(" \t", line.find(':') + 1));
    return "unknown";
}

std::string today() {
    const std::time_t now = std::time(nullptr);
    std::array<char, 16> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%d", std::gmtime(&now));
    return text.data();
}

#ifdef __clang__
constexpr const char* compiler = "Clang " __clang_version__;
#else
constexpr const char* compiler = "GCC " __VERSION__;
#endif

} // namespace

table::table(std::ostream& target) : m_target(target) {
    cells head;
    cells rule;
    for (std::size_t i = 0; i != head.size(); ++i) {
        head[i] = columns[i].head;
        rule[i] = std::string(columns[i].width, '-');
    }
    print(m_target, head);
    print(m_target, rule);
}

void table::add(const row& measured, const std::vector<result>& results) {
    for (std::size_t i = 0; i != std::max<std::size_t>(results.size(), 2); ++i) {
        cells line{i == 0 ? measured.name : i == 1 ? "per " + measured.unit : ""};
        if (i < results.size()) {
            const subject& one = measured.subjects[i];
            const result& found = results[i];
            const double ratio = results.front().median() / found.median();
            line[1] = one.name;
            line[2] = found.is_memory ? three_digits(found.median(), {" B", " kB"})
                                      : three_digits(found.median(), {" ns", " us", " ms"});
            line[3] = formatted("%.0f %%", found.spread() * 100);
            line[4] = i == 0 ? "" : formatted("%.2f", ratio);
            line[5] = i == 0         ? verdict_on_counts(measured, found)
                      : one.aim != 0 ? verdict(ratio, one.aim, "")
                                     : "";
            line[6] = count_text(found.calls);
            line[7] = count_text(found.instructions);
        }
        print(m_target, line);
    }
}

std::string circumstances(const settings& how) {
    utsname system{};
    uname(&system);
    const double gibibytes = std::stod(told_by("/proc/meminfo", "MemTotal")) / (1 << 20);
    return today() + ": " + told_by("/proc/cpuinfo", "model name") + ", " +
           std::to_string(std::thread::hardware_concurrency()) + " cores, " +
           formatted("%.0f GiB", gibibytes) + " of memory, " + system.sysname + " " +
           std::string(system.release).substr(0, std::strspn(system.release, "0123456789.")) +
           ",\n" + compiler + ", " + std::to_string(how.repetitions) + " repetitions.\n";
}

void record(const std::string& page, const std::string& text) {
    const std::string begin = "<!-- bench: begin -->\n";
    const std::string end = "<!-- bench: end -->\n";
    std::string content = support::read_file(page);
    const std::size_t from = content.find(begin);
    const std::size_t to = content.find(end);
    require(from < to && to != std::string::npos, "the page has no place for the table");
    content.replace(from + begin.size(), to - from - begin.size(), "\n" + text + "\n");
    std::ofstream(page, std::ios::binary) << content;
}

} // namespace bench

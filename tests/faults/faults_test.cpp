#include "faults/workload.h"

#include "support/log_capture.h"
#include "support/rows.h"

#include "core/debug.h"
#include "core/platform.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace faults {

namespace {

std::ptrdiff_t open_descriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

/// Lives of the workload, to compare with a sound one.
class Lives {
protected:
    Lives() {
        work.run(); // what is made once stays
        sound = work.run();
        for (const result& step : sound.steps)
            EXPECT_EQ(step.text == failed, step.step == "missing") << step.step;
    }

    void expect_sound(const outcome& found) {
        compare(found, std::equal_to<>());
        EXPECT_EQ(found.log, sound.log);
    }

    template <class Predicate>
    void compare(const outcome& found, Predicate&& fits) {
        ASSERT_EQ(found.steps.size(), sound.steps.size());
        for (std::size_t i = 0; i != sound.steps.size(); ++i) {
            EXPECT_TRUE(fits(found.steps[i], sound.steps[i]))
                << sound.steps[i].step << " gave " << found.steps[i].text.substr(0, 500);
        }
    }

    workload work;
    outcome sound;
};

/// What a fault may show of itself: some steps fail; the same, and it lasts; nothing; the end of
/// the log until it turns over; or that the package was changed.
enum effect { some, lasting, none, log_ends, refusal };

struct kind_of_fault {
    const char* name;
    const char* function;
    int error;
    effect shows = some;
    void (*change)(const std::string& package) = nullptr; // in place of the error
};

class Fault : public Lives, public testing::TestWithParam<kind_of_fault> {
protected:
    void expect_allowed(const outcome& faulty) {
        compare(faulty, is_described);
        const effect shows = GetParam().shows;
        if (shows == none) compare(faulty, std::equal_to<>());
        if (shows == log_ends) expect_log_ends(faulty);
        if (shows == lasting) return;
        // No lock of the log is left behind, or the turnover fails as well.
        const auto turnover = sound.steps.end() - 3;
        const auto first = std::mismatch(sound.steps.begin(), turnover, faulty.steps.begin()).first;
        EXPECT_TRUE(first == turnover ||
                    std::equal(turnover, turnover + 2, faulty.steps.end() - 3));
    }

    /// The line that finds no room is the last, later from life to life. It may come in part.
    void expect_log_ends(const outcome& faulty) {
        EXPECT_GE(faulty.log.size(), m_lines);
        m_lines = faulty.log.size();
        ASSERT_LE(m_lines, sound.log.size());
        for (std::size_t i = 0; i != m_lines; ++i) {
            const bool in_part = GetParam().error == cut_short && i + 1 == m_lines;
            EXPECT_TRUE(faulty.log[i] == sound.log[i] ||
                        (in_part && (sound.log[i].starts_with(faulty.log[i]) ||
                                     faulty.log[i].starts_with("20"))))
                << i;
        }
        // Nobody is told, and the new file is whole.
        if (m_lines < sound.log.size()) compare(faulty, std::equal_to<>());
    }

private:
    std::size_t m_lines = 0;
};

} // namespace

TEST_P(Fault, IsSurvivedWhereverItComes) {
    const kind_of_fault& kind = GetParam();
    plan fault{kind.function, kind.error, 0, kind.shows == lasting};
    if (kind.change != nullptr) fault.action = [&] { kind.change(work.package_path()); };
    bool is_told = false;
    for (bool reached = true; reached && !HasFailure();) {
        ++fault.at;
        SCOPED_TRACE(fault.at);
        std::ptrdiff_t allocations = live_allocations();
        const std::ptrdiff_t descriptors = open_descriptors();
        {
            const outcome faulty = work.run(fault);
            reached = faulty.reached;
            if (faulty.log_ended) ++allocations; // with the lock in it
            expect_allowed(faulty);
            is_told |= std::any_of(faulty.log.begin(), faulty.log.end(), [](const auto& line) {
                return line.ends_with("Package changed after verification.");
            });
        }
        EXPECT_EQ(live_allocations(), allocations);
        EXPECT_EQ(open_descriptors(), descriptors);
        if (fault.action) work.restore_package();
    }
    expect_sound(work.run());
    EXPECT_GT(fault.at, 1u) << "the function is never called";
    if (kind.change != nullptr) {
        EXPECT_EQ(is_told, kind.shows == refusal);
    }
}

// clang-format off
const kind_of_fault kinds[] = {
    {"Allocation", "new", ENOMEM},
    {"NoMemoryLeft", "new", ENOMEM, lasting},
    {"Open", "open", EMFILE},
    {"NoDescriptorsLeft", "open", EMFILE, lasting},
    {"OpenInterrupted", "open", EINTR, none},
    {"OpenFolder", "opendir", EMFILE},
    {"OpenKey", "fopen64", EMFILE},
    {"ReadFolder", "readdir", EIO},
    {"Duplicate", "fcntl", EMFILE},
    {"SizeOfFile", "fstat", EIO},
    {"SizeOfLog", "statx", EIO},
    {"Status", "stat", EACCES},
    {"Read", "pread", EIO},
    {"ReadInterrupted", "pread", EINTR, none},
    {"ReadCutShort", "pread", cut_short},
    {"Write", "write", ENOSPC, log_ends},
    {"WriteCutShort", "write", cut_short, log_ends},
    {"WriteInterrupted", "write", EINTR, none},
    {"NoRoomLeft", "write", ENOSPC, lasting},
    {"Rename", "rename", EIO},
    {"Remove", "remove", EACCES},
    {"MakeFolder", "mkdir", ENOSPC},
    {"Close", "close", EIO},

    // Changes of an installed package, which nobody should make: in front of each read, while it
    // is verified, listed, opened and read.
    {"Replaced", "pread", 0, none, [](const std::string& path) {
         std::ofstream(path + ".new") << std::string(std::filesystem::file_size(path), 'x');
         std::filesystem::rename(path + ".new", path);
     }},
    {"CutOff", "pread", 0, refusal, [](const std::string& path) {
         std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2);
     }},
    {"Overwritten", "pread", 0, refusal, [](const std::string& path) {
         std::fstream(path, std::ios::in | std::ios::out)
             << std::string(std::filesystem::file_size(path), 'x');
     }}};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Each, Fault, testing::ValuesIn(kinds), support::row_name);

/// What a host may change of its process.
class Surroundings : public Lives, public testing::Test {};

TEST_F(Surroundings, LocaleOfTheHost) {
    const support::temp_folder folder;
    const std::string command =
        "localedef -c -i de_DE -f ISO-8859-1 " + folder.file("xx_XX") + " >/dev/null 2>&1";
    setenv("LOCPATH", folder.path().c_str(), 1);
    if (system(command.c_str()) != 0 || setlocale(LC_ALL, "xx_XX") == nullptr) {
        GTEST_SKIP() << "no such locale can be made here";
    }
    EXPECT_STREQ(localeconv()->decimal_point, ",");
    expect_sound(work.run());
    support::log_capture log;
    core::info_logger{} << 1234567.5 << L" \xE4";
    EXPECT_EQ(log.lines().front().text, "1234567.500000 \xC3\xA4");
    setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
}

TEST_F(Surroundings, TimeZoneOfTheHost) {
    setenv("TZ", "Pacific/Kiritimati", 1);
    tzset();
    expect_sound(work.run());
    EXPECT_EQ(core::utc_stamp().of(0), "1970-01-01 00:00:00Z");
    unsetenv("TZ");
}

/// Without an algorithm no signature holds; an open package gives nothing, or what it should.
TEST_F(Surroundings, AlgorithmsOfTheHost) {
    ASSERT_EQ(EVP_set_default_properties(nullptr, "fips=yes"), 1);
    const outcome without = work.run();
    ASSERT_EQ(EVP_set_default_properties(nullptr, ""), 1);
    compare(without, is_described);
    EXPECT_EQ(without.steps[2].text, failed) << "installed with another's algorithms";
    expect_sound(work.run());
}

/// Both processes go on: in the log that was open, and with all that the engine can do.
TEST_F(Surroundings, ForkWithAnOpenLog) {
    support::log_capture log;
    core::info_logger{} << "before";
    const pid_t child = fork();
    if (child == 0) {
        core::info_logger{} << "child";
        core::close_log();
        _exit(work.run().steps == sound.steps ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    core::info_logger{} << "parent";
    std::vector<pid_t> writers;
    std::istringstream content(support::read_file(log.path()));
    for (std::string line; std::getline(content, line);)
        writers.push_back(std::stoi(line.substr(23), nullptr, 16));
    EXPECT_EQ(writers, (std::vector{getpid(), child, getpid()}));
    EXPECT_EQ(log.lines()[1].text, "child");
    core::close_log();
    expect_sound(work.run());
}

} // namespace faults

#include "faults/workload.h"

#include "support/rows.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace faults {

namespace {

/// Lives of the workload, each with a fault and then one without.
class Lives {
protected:
    Lives() {
        work.run(); // what is made once stays
        sound = work.run();
    }

    /// The outcome has to be one that is described. Says whether the planned call came.
    bool survives(const plan& fault, const std::function<void(const outcome&)>& look = {}) {
        SCOPED_TRACE(std::string(fault.function) + " " + std::to_string(fault.at));
        footprint expected = held();
        bool reached = false;
        {
            const outcome faulty = work.run(fault);
            reached = faulty.reached;
            if (faulty.log_ended) ++expected.allocations; // with the lock in it
            compare(faulty, is_described);
            if (!fault.lasting) expect_log_free(faulty);
            if (look) look(faulty);
        }
        const footprint after = held();
        EXPECT_EQ(after.allocations, expected.allocations);
        EXPECT_EQ(after.descriptors, expected.descriptors);
        return reached;
    }

    /// One fault elsewhere leaves no lock of the log behind, and so no turnover that fails.
    void expect_log_free(const outcome& faulty) const {
        const auto turnover = sound.steps.end() - 2;
        const auto [found, expected] =
            std::mismatch(faulty.steps.begin(), faulty.steps.end(), sound.steps.begin());
        EXPECT_TRUE(expected >= turnover || *(faulty.steps.end() - 2) == *turnover);
    }

    void expect_healthy() {
        const outcome again = work.run();
        compare(again, std::equal_to<>());
        EXPECT_EQ(again.log, sound.log);
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

struct kind_of_fault {
    const char* name;
    const char* function;
    int error;

    enum { once, lasting, unseen } how = once; // unseen: the engine makes up for it
};

class Fault : public Lives, public testing::TestWithParam<kind_of_fault> {};

} // namespace

TEST_P(Fault, IsSurvivedWhereverItComes) {
    const auto& [name, function, error, how] = GetParam();
    const unsigned stride = std::string_view(function) == "new" ? 8 : 1; // of the lives without
    plan fault{function, error, 0, how == kind_of_fault::lasting};
    const bool hidden = how == kind_of_fault::unseen;
    const auto look = [&](const outcome& faulty) {
        if (hidden) compare(faulty, std::equal_to<>());
    };
    do {
        ++fault.at;
        const bool reached = survives(fault, look);
        if (!reached || fault.at % stride == 0) expect_healthy();
        if (!reached) break;
    } while (!HasFailure());
    EXPECT_GT(fault.at, 1u) << "the function is never called";
    EXPECT_LE(fault.at, 5000u) << "too many for a sweep";
    RecordProperty("calls", static_cast<int>(fault.at - 1));
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Each, Fault,
    testing::Values(
        kind_of_fault{"Allocation", "new", ENOMEM},
        kind_of_fault{"NoMemoryLeft", "new", ENOMEM, kind_of_fault::lasting},
        kind_of_fault{"Open", "open", EMFILE},
        kind_of_fault{"NoDescriptorsLeft", "open", EMFILE, kind_of_fault::lasting},
        kind_of_fault{"OpenInterrupted", "open", EINTR, kind_of_fault::unseen},
        kind_of_fault{"OpenFolder", "opendir", EMFILE},
        kind_of_fault{"OpenKey", "fopen64", EMFILE},
        kind_of_fault{"ReadKey", "fgets", EIO},
        kind_of_fault{"ReadFolder", "readdir", EIO},
        kind_of_fault{"Duplicate", "fcntl", EMFILE},
        kind_of_fault{"SizeOfFile", "fstat", EIO},
        kind_of_fault{"SizeOfLog", "statx", EIO},
        kind_of_fault{"Status", "stat", EACCES},
        kind_of_fault{"Read", "pread", EIO},
        kind_of_fault{"ReadInterrupted", "pread", EINTR, kind_of_fault::unseen},
        kind_of_fault{"ReadCutShort", "pread", cut_short},
        kind_of_fault{"Write", "write", ENOSPC},
        kind_of_fault{"NoRoomLeft", "write", ENOSPC, kind_of_fault::lasting},
        kind_of_fault{"WriteInterrupted", "write", EINTR, kind_of_fault::unseen},
        kind_of_fault{"WriteCutShort", "write", cut_short},
        kind_of_fault{"Rename", "rename", EIO},
        kind_of_fault{"Remove", "remove", EACCES},
        kind_of_fault{"MakeFolder", "mkdir", ENOSPC},
        kind_of_fault{"Close", "close", EIO}),
    support::row_name);

// clang-format on

class FullDisk : public Lives, public testing::Test {};

/// The line that finds no room is the last until the turnover opens a file anew.
TEST_F(FullDisk, EndsTheLogUntilItTurnsOver) {
    for (const int error : {ENOSPC, cut_short}) {
        std::size_t lines = 0;
        for (plan fault{"write", error, 1}; lines < sound.log.size(); ++fault.at) {
            survives(fault, [&](const outcome& faulty) {
                EXPECT_GE(faulty.log.size(), lines);
                lines = faulty.log.size();
                EXPECT_LE(lines, sound.log.size());
                // The last line may have come in part.
                for (std::size_t i = 0; i != lines; ++i) {
                    EXPECT_TRUE(i + 1 == lines && error == cut_short
                                    ? sound.log[i].starts_with(faulty.log[i]) ||
                                          faulty.log[i].starts_with("20")
                                    : faulty.log[i] == sound.log[i])
                        << i;
                }
                if (lines == sound.log.size()) return;
                compare(faulty, std::equal_to<>()); // nobody is told, and the new file is whole
            });
            if (HasFailure()) return;
        }
        EXPECT_EQ(lines, sound.log.size());
    }
}

/// Ways to change an installed package, which nobody should.
enum change { replaced, unlinked, cut_off, emptied, overwritten };

struct kind_of_change {
    const char* name;
    change how;
};

class ChangedPackage : public Lives, public testing::TestWithParam<kind_of_change> {
protected:
    void change_package() const {
        const std::string& path = work.package_path();
        switch (GetParam().how) {
        case replaced: {
            std::ofstream(path + ".new") << std::string(work.package_size(), 'x');
            std::filesystem::rename(path + ".new", path);
            return;
        }
        case unlinked:
            std::filesystem::remove(path);
            return;
        case cut_off:
            std::filesystem::resize_file(path, work.package_size() / 2);
            return;
        case emptied:
            std::filesystem::resize_file(path, 0);
            return;
        case overwritten:
            std::fstream(path, std::ios::in | std::ios::out | std::ios::binary)
                << std::string(work.package_size(), 'x');
            return;
        }
    }
};

/// In front of each read of the package: while it is verified, listed, opened and read.
TEST_P(ChangedPackage, IsServedAsItWasVerifiedOrNotAtAll) {
    const bool unseen = GetParam().how == replaced || GetParam().how == unlinked;
    plan fault{"pread", 0};
    fault.action = [&] { change_package(); };
    bool told = false;
    do {
        ++fault.at;
        const bool reached = survives(fault, [&](const outcome& faulty) {
            if (unseen) compare(faulty, std::equal_to<>());
            told = told || std::any_of(faulty.log.begin(), faulty.log.end(), [](const auto& line) {
                       return line.ends_with("Package changed after verification.");
                   });
        });
        work.restore_package();
        expect_healthy();
        if (!reached) break;
    } while (!HasFailure());
    EXPECT_GT(fault.at, 10u);
    EXPECT_EQ(told, !unseen);
}

INSTANTIATE_TEST_SUITE_P(Each, ChangedPackage,
                         testing::Values(kind_of_change{"Replaced", replaced},
                                         kind_of_change{"Unlinked", unlinked},
                                         kind_of_change{"CutOff", cut_off},
                                         kind_of_change{"Emptied", emptied},
                                         kind_of_change{"Overwritten", overwritten}),
                         support::row_name);

} // namespace faults

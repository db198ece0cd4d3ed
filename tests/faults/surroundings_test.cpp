#include "faults/workload.h"

#include "support/log_capture.h"

#include "core/debug.h"

#include <clocale>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <set>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace faults {

namespace {

class Surroundings : public testing::Test {
protected:
    void expect_sound(const char* where) {
        const outcome again = work.run();
        EXPECT_EQ(again.log, sound.log) << where;
        ASSERT_EQ(again.steps.size(), sound.steps.size());
        for (std::size_t i = 0; i != sound.steps.size(); ++i)
            EXPECT_TRUE(again.steps[i] == sound.steps[i]) << where << ": " << sound.steps[i].step;
    }

    workload work;
    outcome sound = work.run();
};

} // namespace

TEST_F(Surroundings, EveryStepSucceedsInThem) {
    for (const result& step : sound.steps)
        EXPECT_EQ(step.text == failed, step.step == "missing") << step.step;
}

TEST_F(Surroundings, LocaleOfTheHost) {
    const support::temp_folder folder;
    const std::string command =
        "localedef -c -i de_DE -f ISO-8859-1 " + folder.file("xx_XX") + " >/dev/null 2>&1";
    setenv("LOCPATH", folder.path().c_str(), 1);
    if (system(command.c_str()) != 0 || setlocale(LC_ALL, "xx_XX") == nullptr) {
        GTEST_SKIP() << "no such locale can be made here";
    }
    EXPECT_STREQ(localeconv()->decimal_point, ",");
    expect_sound("with a decimal comma");
    support::log_capture log;
    core::info_logger{} << 1234567.5 << L" \xE4";
    EXPECT_EQ(log.lines().front().text, "1234567.500000 \xC3\xA4");
    setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
}

TEST_F(Surroundings, TimeZoneOfTheHost) {
    setenv("TZ", "Pacific/Kiritimati", 1);
    tzset();
    expect_sound("far in the east");
    support::log_capture log;
    const std::time_t before = std::time(nullptr);
    core::info_logger{} << "x";
    std::tm parts{};
    char text[32];
    std::set<std::string> possible; // the time may go on meanwhile
    for (std::time_t now = before; now <= std::time(nullptr); ++now) {
        std::strftime(text, sizeof text, "%F %TZ", gmtime_r(&now, &parts));
        possible.insert(text);
    }
    EXPECT_TRUE(possible.contains(support::read_file(log.path()).substr(0, 20)));
    unsetenv("TZ");
}

/// Without an algorithm no signature holds; an open package gives nothing, or what it should.
TEST_F(Surroundings, AlgorithmsOfTheHost) {
    for (const char* properties : {"fips=yes", "provider=nobody"}) {
        ASSERT_EQ(EVP_set_default_properties(nullptr, properties), 1);
        const outcome without = work.run();
        ASSERT_EQ(EVP_set_default_properties(nullptr, ""), 1);
        for (std::size_t i = 0; i != sound.steps.size(); ++i) {
            EXPECT_TRUE(is_described(without.steps[i], sound.steps[i])) << sound.steps[i].step;
        }
        EXPECT_EQ(without.steps[2].text, failed) << "installed with " << properties;
        expect_sound("with the algorithms back");
    }
}

/// Both processes go on: in the log that was open, and with all that the engine can do.
TEST_F(Surroundings, ForkWithAnOpenLog) {
    support::log_capture log;
    core::info_logger{} << "before";
    const pid_t child = fork();
    if (child == 0) {
        core::info_logger{} << "child";
        core::close_log();
        const bool is_sound = work.run().steps == sound.steps;
        _exit(is_sound ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    core::info_logger{} << "parent";
    std::vector<std::string> threads;
    std::istringstream content(support::read_file(log.path()));
    for (std::string line; std::getline(content, line);)
        threads.push_back(line.substr(22, line.find(')') - 22));
    ASSERT_EQ(threads.size(), 3u);
    EXPECT_NE(threads[1], threads[0]);
    EXPECT_EQ(threads[2], threads[0]);
    EXPECT_EQ(log.lines()[1].text, "child");
    EXPECT_EQ(log.lines()[2].text, "parent");
    core::close_log();
    expect_sound("in the parent");
}

} // namespace faults

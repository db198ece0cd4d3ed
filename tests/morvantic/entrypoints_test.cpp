#include "morvantic/morvantic.h"

#include "support/log_capture.h"

#include <gtest/gtest.h>

namespace {

constexpr const char* change = "Log level changed to: ";

/// What the lines of a log in a folder say.
std::string log_in(const support::temp_folder& folder) {
    std::string texts;
    for (const auto& line : tool::parse_log(support::read_file(folder.file("morvantic.log"))))
        texts += line.text;
    return texts;
}

} // namespace

TEST(EntryPoints, AnnounceChangesOfTheLevel) {
    const support::log_capture log;
    constexpr unsigned short levels[] = {1, 4, 0, 65535};
    std::vector<std::string> announced;
    for (const unsigned short level : levels) { // whatever the old one and the new one
        EXPECT_EQ(mv_set_log_level(2, true), mv_success);
        EXPECT_EQ(mv_set_log_level(level, false), mv_success);
        EXPECT_EQ(mv_set_log_level(level, false), mv_success);
        const std::string number = level == 65535 ? "-1" : std::to_string(level);
        announced.push_back(std::string("Info debug: ") + change + number);
    }
    EXPECT_EQ(log.summary(), announced);
}

TEST(EntryPoints, KeepTheFirstLogUntilShutdown) {
    const support::temp_folder first;
    const support::temp_folder second;
    first.write("file", "in the way");
    EXPECT_EQ(mv_init(first.wide_file("file").c_str()), mv_success);
    EXPECT_EQ(mv_init(nullptr), mv_success);
    mv_set_log_level(5, false);                  // without a log everything is silent
    for (const auto* folder : {&first, &second}) // a failed start leaves the way free
        EXPECT_EQ(mv_init(folder->wide_path().c_str()), mv_success);
    mv_set_log_level(5, false);
    EXPECT_EQ(mv_shutdown(), mv_success);
    EXPECT_EQ(log_in(first) + log_in(second), change + std::string("5"));
    mv_init(second.wide_path().c_str());
    mv_set_log_level(3, false);
    mv_shutdown();
    EXPECT_EQ(log_in(second), change + std::string("3"));
}

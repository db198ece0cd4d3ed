#include "core/debug.h"

#include "support/log_capture.h"

#include "core/logandrethrow.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <unistd.h>

using namespace core;
using support::log_capture;
using support::read_file;
using support::temp_folder;

namespace {

constexpr std::uintmax_t turnover = 10'485'760;

std::string only_line(const log_capture& log) {
    std::string content = read_file(log.path());
    EXPECT_TRUE(content.ends_with('\n'));
    content.pop_back();
    return content;
}

} // namespace

TEST(Log, LineHasItsExactShape) {
    log_capture log;
    error_logger(LR"(C:\src\mvx\core\mvx\debug.cpp)", 74) << "hello " << -3;
    char tag[20];
    std::snprintf(tag, sizeof tag, gettid() > 0xFFFF ? "0x%08x" : "0x%04x",
                  static_cast<unsigned>(gettid()));
    const std::string tail =
        std::string("  (") + tag + ") ERROR    " + R"(mvx\core\mvx\debug.cpp(74): hello -3)";
    const std::string line = only_line(log);
    EXPECT_TRUE(
        std::regex_match(line.substr(0, 20), std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\dZ)")))
        << line;
    EXPECT_EQ(line.substr(20), tail) << "cut at the first marker";
}

TEST(Log, PlacesWithAndWithoutTheMarker) {
    log_capture log;
    const auto line_of = [&](auto&& write) {
        log.clear();
        write();
        const std::string all = read_file(log.path());
        const std::string line = all.substr(all.rfind('\n', all.size() - 2) + 1);
        return line.substr(line.find("Info     ") + 9);
    };
    EXPECT_EQ(line_of([] { info_logger(L"/no/marker.cpp", 5) << "x"; }), "/no/marker.cpp(5): x\n");
    EXPECT_EQ(line_of([] { info_logger(L"", 5) << "x"; }), "x\n");
    EXPECT_EQ(line_of([] { info_logger(nullptr, 5) << "x"; }), "x\n");
    EXPECT_EQ(line_of([] { info_logger(source_place::here("/mvx/core/some.file.cpp", 9)) << "x"; }),
              "mvx\\core\\some.file(9): x\n");
    EXPECT_EQ(line_of([] { info_logger(source_place::here("mvx/core/relative.h", 9)) << "x"; }),
              "mvx\\core\\relative(9): x\n");
}

TEST(Log, ValuesOfEveryKind) {
    log_capture log;
    info_logger{} << 'c' << static_cast<signed char>('s') << static_cast<unsigned char>('u')
                  << std::int16_t{-1} << std::uint16_t{65535} << -2147483647 << 4294967295u << ' '
                  << -9223372036854775807L << 18446744073709551615UL << -1LL << 1ULL << ' ' << 1.5f
                  << ' ' << -0.25 << ' ' << 1e300;
    std::string huge(400, '\0');
    huge.resize(static_cast<std::size_t>(std::snprintf(huge.data(), huge.size(), "%f", 1e300)));
    EXPECT_EQ(log.lines().front().text,
              "csu-165535-21474836474294967295 -922337203685477580718446744073709551615-11 "
              "1.500000 -0.250000 " +
                  huge);
    log.clear();
    info_logger{} << "caf\xE9 " << L"\x20AC\x1F600\xDCFF" << std::wstring(1, L'\xD800')
                  << static_cast<const char*>(nullptr) << static_cast<const wchar_t*>(nullptr);
    info_logger{} << "still writing";
    EXPECT_EQ(log.lines()[0].text, "caf\xE9 \xE2\x82\xAC\xF0\x9F\x98\x80\xFF\xED\xA0\x80");
    EXPECT_EQ(log.lines()[1].text, "still writing") << "no character stops the log";
}

TEST(Log, ThresholdDecidesWhatPasses) {
    struct {
        std::int16_t threshold;
        std::size_t lines;
    } const cases[] = {{-1, 0}, {0, 0}, {1, 1}, {2, 2}, {4, 4}, {5, 5}, {30000, 5}};

    for (const auto& row : cases) {
        log_capture log(row.threshold);
        fatal_logger{} << "f";
        error_logger{} << "e";
        warning_logger{} << "w";
        info_logger{} << "i";
        debug_logger{} << "d";
        for (const int level : {-1, 0, 6, 32767}) {
            internals::logger_interface(static_cast<std::int16_t>(level), source_place::here())
                << "never";
        }
        EXPECT_EQ(log.lines().size(), row.lines) << row.threshold;
    }
}

TEST(Log, ContinuesAnExistingFile) {
    const temp_folder folder;
    folder.write("deep/er/morvantic.log", "earlier\n");
    for (int run = 0; run != 2; ++run) {
        open_log(folder.wide_file("deep/er").c_str(), L"morvantic.log");
        info_logger{} << "run";
        close_log();
    }
    const std::string content = read_file(folder.file("deep/er/morvantic.log"));
    EXPECT_TRUE(content.starts_with("earlier\n"));
    EXPECT_EQ(std::count(content.begin(), content.end(), '\n'), 3);
    open_log(folder.wide_file("new/folder").c_str(), L"");
    close_log();
    EXPECT_TRUE(std::filesystem::exists(folder.file("new/folder/_log.txt")));
}

TEST(Log, UnusableFolderLeavesItClosed) {
    const temp_folder folder;
    folder.write("file", "");
    const std::wstring unusable[] = {folder.wide_file("file/sub"), folder.wide_file("file"), L"",
                                     folder.wide_path() + L"\xD800"};
    for (const std::wstring& path : unusable) {
        open_log(path.c_str(), L"morvantic.log");
        EXPECT_EQ(current_log_level(), 0);
        info_logger{} << "nowhere";
        set_log_level(3, true);
    }
    open_log(nullptr, L"x");
    EXPECT_EQ(current_log_level(), 0);
}

TEST(Log, TurnsOverAtTheByte) {
    for (const std::uintmax_t size : {turnover - 1, turnover}) {
        log_capture log;
        std::filesystem::resize_file(log.path(), size);
        const std::string backup = log.path() + ".bak";
        std::ofstream(backup) << "old backup";
        info_logger{} << "next";
        const bool turned = size == turnover;
        EXPECT_EQ(std::filesystem::file_size(backup), turned ? turnover : 10u);
        EXPECT_EQ(std::filesystem::file_size(log.path()) < 200, turned);
    }
}

TEST(Log, VanishedFileIsNotTurnedOver) {
    log_capture log;
    std::filesystem::remove(log.path());
    info_logger{} << "into the open file";
    EXPECT_FALSE(std::filesystem::exists(log.path() + ".bak"));
}

TEST(Log, FailedTurnoverEndsLoggingWithoutAHang) {
    log_capture log;
    std::filesystem::create_directories(log.path() + ".bak/not empty");
    std::filesystem::resize_file(log.path(), turnover);
    try {
        info_logger{} << "lost";
        FAIL() << "no exception";
    } catch (const std::filesystem::filesystem_error& failure) {
        EXPECT_STREQ(failure.what(), "remove(p): invalid argument");
    }
    error_logger{} << "a silent no-op";
    set_log_level(1, true);
    close_log();
    open_log(std::filesystem::path(log.path()).parent_path().wstring().c_str(), L"again.log");
    info_logger{} << "anew";
    EXPECT_TRUE(read_file(std::filesystem::path(log.path()).replace_filename("again.log"))
                    .ends_with("anew\n"));
}

TEST(Log, SecondLoggerOnOneThreadThrowsInsteadOfHanging) {
    log_capture log;
    info_logger outer;
    EXPECT_THROW(info_logger{}, std::system_error);
}

TEST(Log, LoggerOutlivesNothingItDidNotLock) {
    close_log();
    const temp_folder folder;
    {
        info_logger early; // built with no log open
        open_log(folder.wide_path().c_str(), L"morvantic.log");
        early << "not in there";
    }
    info_logger{} << "the only line";
    close_log();
    const std::string content = read_file(folder.file("morvantic.log"));
    EXPECT_EQ(std::count(content.begin(), content.end(), '\n'), 1);
}

TEST(Assertion, ShowsItsOwnModuleAtLevelDebugOnly) {
    log_capture log(4);
    assertion("!\"Unknown package version.\"", "/mvx/elsewhere.cpp", 3);
    EXPECT_TRUE(log.lines().empty());
    set_log_level(5, false);
    assertion("!\"Unknown package version.\"", "/mvx/elsewhere.cpp", 3);
    assertion("false");
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].text, "[ASSERT] !\"Unknown package version.\"");
    EXPECT_EQ(lines[0].module, "mvx\\core\\debug");
    EXPECT_EQ(lines[0].line, lines[1].line);
}

TEST(Exception, OwnsItsText) {
    EXPECT_STREQ(core::exception().what(), "Unknown exception");
    EXPECT_STREQ(core::exception(static_cast<const char*>(nullptr)).what(), "Unknown exception");
    auto source = std::make_unique<core::exception>(std::string("Internal error."));
    const core::exception copy(*source);
    source.reset();
    EXPECT_STREQ(copy.what(), "Internal error.");
}

TEST(LogAndRethrow, LogsAtThePlaceOfTheWrapperAndChangesNothing) {
    log_capture log;
    EXPECT_THROW(log_and_rethrow([] { throw std::out_of_range("gone"); }), std::out_of_range);
    EXPECT_THROW(log_and_rethrow([] { throw 42; }), int);
    EXPECT_EQ(log_and_rethrow([] { return 7; }), 7);
    EXPECT_EQ(log_and_swallow_all([]() -> bool { throw 42; }), false);
    EXPECT_EQ(logged_clone([]() -> std::unique_ptr<int> { throw core::exception("no"); }), nullptr);
    EXPECT_EQ(log.summary(), (std::vector<std::string>{"ERROR debug_test: [EXC] gone",
                                                       "ERROR debug_test: [EXC] Unknown Exception.",
                                                       "ERROR debug_test: Unknown Exception.",
                                                       "ERROR debug_test: no"}));
}

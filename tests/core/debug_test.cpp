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
using strings = std::vector<std::string>;

namespace {

constexpr std::uintmax_t turnover = 10'485'760;

} // namespace

TEST(Log, LineHasItsExactShape) {
    log_capture log;
    error_logger(LR"(C:\src\mvx\core\mvx\debug.cpp)", 74) << "hello " << -3;
    char tag[20];
    std::snprintf(tag, sizeof tag, gettid() > 0xFFFF ? "0x%08x" : "0x%04x",
                  static_cast<unsigned>(gettid()));
    const std::string line = read_file(log.path());
    EXPECT_TRUE(std::regex_match(
        line, std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\dZ  \()" + std::string(tag) +
                         R"(\) ERROR    mvx\\core\\mvx\\debug\.cpp\(74\): hello -3\n)")))
        << line << "is cut at the first marker";
}

TEST(Log, PlacesWithAndWithoutTheMarker) {
    log_capture log;
    info_logger(L"/no/marker.cpp", 5) << "x";
    info_logger(L"", 5) << "x";
    info_logger(nullptr, 5) << "x";
    info_logger(source_place::here("/mvx/core/some.file.cpp", 9)) << "x";
    info_logger(source_place::here("mvx/core.d/relative", 9)) << "x";
    EXPECT_EQ(std::regex_replace(read_file(log.path()), std::regex(".*Info     "), ""),
              "/no/marker.cpp(5): x\nx\nx\nmvx\\core\\some.file(9): x\n"
              "mvx\\core.d\\relative(9): x\n");
}

TEST(Log, ValuesOfEveryKind) {
    log_capture log;
    info_logger{} << 'c' << static_cast<signed char>('s') << static_cast<unsigned char>('u')
                  << std::int16_t{-1} << std::uint16_t{65535} << -2147483647 << 4294967295u << ' '
                  << -9223372036854775807L << 18446744073709551615UL << -1LL << 1ULL << ' ' << 1.5f
                  << ' ' << -0.25;
    info_logger{} << 1e300;
    info_logger{} << "caf\xE9 " << L"\x20AC\x1F600\xDCFF" << std::wstring(1, L'\xD800')
                  << static_cast<const char*>(nullptr) << static_cast<const wchar_t*>(nullptr);
    info_logger{} << "still writing";
    const auto lines = log.lines();
    EXPECT_EQ(lines[0].text,
              "csu-165535-21474836474294967295 -922337203685477580718446744073709551615-11 "
              "1.500000 -0.250000");
    EXPECT_EQ(lines[1].text.size(), 301u + sizeof(".00000"));
    EXPECT_EQ(lines[2].text, "caf\xE9 \xE2\x82\xAC\xF0\x9F\x98\x80\xFF\xED\xA0\x80");
    EXPECT_EQ(lines[3].text, "still writing") << "no character stops the log";
}

TEST(Log, ThresholdDecidesWhatPasses) {
    const std::pair<int, std::size_t> lines_at[] = {{-1, 0}, {0, 0}, {1, 1}, {4, 4}, {30000, 5}};
    for (const auto& [threshold, lines] : lines_at) {
        log_capture log(static_cast<std::int16_t>(threshold));
        fatal_logger{} << "f";
        error_logger{} << "e";
        warning_logger{} << "w";
        info_logger{} << "i";
        debug_logger{} << "d";
        for (const int level : {-1, 0, 6, 32767}) {
            internals::logger_interface(static_cast<std::int16_t>(level), source_place::here())
                << "never";
        }
        EXPECT_EQ(log.lines().size(), lines) << threshold;
    }
}

TEST(Log, ContinuesAnExistingFileAndMakesItsFolder) {
    const temp_folder folder;
    for (const std::size_t run : {1U, 2U}) {
        open_log(folder.wide_file("deep/er").c_str(), L"");
        info_logger{} << "run";
        close_log();
        const std::string content = read_file(folder.file("deep/er/_log.txt"));
        EXPECT_EQ(tool::parse_log(content).size(), run);
    }
}

TEST(Log, UnusableFolderLeavesItClosed) {
    const temp_folder folder;
    folder.write("file", "");
    for (const std::wstring& path : {folder.wide_file("file/sub"), folder.wide_file("file"),
                                     std::wstring(), folder.wide_path() + L"\xD800"}) {
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
        std::ofstream(log.path() + ".bak") << "old backup";
        std::filesystem::resize_file(log.path(), size);
        info_logger{} << "next";
        const bool turned = size == turnover;
        EXPECT_EQ(std::filesystem::file_size(log.path() + ".bak"), turned ? turnover : 10u);
        EXPECT_EQ(std::filesystem::file_size(log.path()) < 200, turned);
    }
    log_capture log;
    std::filesystem::resize_file(log.path(), turnover);
    std::filesystem::remove(log.path());
    info_logger{} << "into the open file, to which no path leads";
    EXPECT_FALSE(std::filesystem::exists(log.path() + ".bak"));
}

TEST(Log, LoggerOwnsTheLogForItsLife) {
    close_log();
    const auto early = std::make_unique<info_logger>(); // built with no log open
    log_capture log;
    *early << "not in there";
    info_logger outer;
    EXPECT_THROW(info_logger{}, std::system_error) << "instead of a hang";
    outer << "the only line";
    EXPECT_TRUE(log.lines().empty()) << "it ends with its logger";
}

TEST(LogAndRethrow, LogsAtThePlaceOfTheWrapperAndChangesNothing) {
    log_capture log;
    EXPECT_THROW(log_and_rethrow([] { throw std::out_of_range("gone"); }), std::out_of_range);
    EXPECT_THROW(log_and_rethrow([] { throw 42; }), int);
    EXPECT_EQ(log_and_rethrow([] { return 7; }), 7);
    EXPECT_EQ(log_and_swallow_all([]() -> bool { throw 42; }), false);
    EXPECT_EQ(logged_clone([]() -> std::unique_ptr<int> { throw core::exception("no"); }), nullptr);
    EXPECT_STREQ(core::exception(static_cast<const char*>(nullptr)).what(), "Unknown exception");
    assertion("place", "/mvx/elsewhere.cpp", 3);
    EXPECT_EQ(log.summary(),
              (strings{"ERROR debug_test: [EXC] gone", "ERROR debug_test: [EXC] Unknown Exception.",
                       "ERROR debug_test: Unknown Exception.", "ERROR debug_test: no",
                       "Debug debug: [ASSERT] place"}));
}

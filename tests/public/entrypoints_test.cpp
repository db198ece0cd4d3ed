#include "public/host_log.h"

using strings = std::vector<std::string>;

namespace {

strings announcement(const char* level) {
    return {std::string("Info     mvx\\core\\debug: Log level changed to: ") + level};
}

} // namespace

TEST(EntryPoints, LogLevels) {
    const struct {
        unsigned short silently_first;
        unsigned short level;
        bool silent;
        strings lines;
    } rows[] = {{4, 4, false, {}},
                {1, 5, false, announcement("5")}, // whatever the old level
                {4, 0, false, announcement("0")}, // whatever the new level
                {4, 5, true, {}},
                {4, 65535, false, announcement("-1")}};

    for (const auto& row : rows) {
        const host_log log;
        EXPECT_EQ(log.open(), mv_success);
        EXPECT_EQ(mv_set_log_level(row.silently_first, true), mv_success);
        EXPECT_EQ(mv_set_log_level(row.level, row.silent), mv_success);
        EXPECT_EQ(mv_set_log_level(row.level, false), mv_success); // no change, no line
        EXPECT_EQ(log.lines(), row.lines) << row.level;
    }
}

TEST(EntryPoints, WithoutALogEverythingIsSilent) {
    const host_log log;
    EXPECT_EQ(mv_shutdown(), mv_success);
    EXPECT_EQ(mv_set_log_level(5, false), mv_success);
    std::ofstream(log.folder / "file") << "in the way";
    EXPECT_EQ(mv_init((engine::to_wide(log.folder.string()) + L"/file").c_str()), mv_success);
    EXPECT_EQ(mv_init(nullptr), mv_success);
    EXPECT_EQ(mv_set_log_level(5, false), mv_success);
    EXPECT_EQ(log.open(), mv_success); // a failed start leaves the way free
    EXPECT_EQ(mv_set_log_level(5, false), mv_success);
    EXPECT_EQ(log.lines(), announcement("5"));
}

TEST(EntryPoints, TheFirstLogStaysUntilShutdown) {
    const host_log first;
    const host_log second;
    first.open();
    second.open();
    mv_set_log_level(5, false);
    EXPECT_EQ(mv_shutdown(), mv_success);
    EXPECT_EQ(first.lines(), announcement("5"));
    EXPECT_FALSE(std::filesystem::exists(second.folder / "morvantic.log"));
    second.open();
    mv_set_log_level(3, false);
    EXPECT_EQ(second.lines(), announcement("3"));
}

TEST(EntryPoints, PackagesThatCannotBe) {
    const host_log log;
    log.open();
    EXPECT_EQ(mv_update_scripts_package(nullptr, L"key.pem"), mv_failed);
    EXPECT_EQ(mv_update_scripts_package(L"scripts.pkg", nullptr), mv_failed);
    EXPECT_EQ(log.lines(), strings{});
    const std::wstring missing = engine::to_wide((log.folder / "missing").string());
    EXPECT_EQ(mv_update_scripts_package(missing.c_str(), missing.c_str()), mv_package_refused);
    EXPECT_NE(log.lines(), strings{});
    EXPECT_EQ(mv_experiments(), mv_success);
}

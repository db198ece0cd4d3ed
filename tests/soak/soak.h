#pragma once

#include "support/log_capture.h"
#include "support/memory_store.h"
#include "support/package_builder.h"
#include "support/zip_builder.h"

#include "core/debug.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iomanip>
#include <iostream>
#include <malloc.h>
#include <recorder.h>
#include <sstream>
#include <sys/stat.h>

namespace soak {

#ifdef SANITIZED
constexpr bool is_sanitized = true; // neither time nor memory is the engine's own
#else
constexpr bool is_sanitized = false;
#endif

/// Every count is divided by this, which the environment gives.
inline std::size_t divisor() {
    const char* const given = std::getenv("SOAK_DIVIDE");
    return given == nullptr ? 1 : std::strtoul(given, nullptr, 10);
}

inline std::size_t part_of(std::size_t full) { return std::max<std::size_t>(1, full / divisor()); }

/// Times are only judged where there are enough of them.
inline bool judges_time() { return divisor() == 1 && !is_sanitized; }

/// One line of figures.
template <class... Parts>
void say(const Parts&... parts) {
    std::cout << std::fixed << std::setprecision(1) << "    ";
    (std::cout << ... << parts) << std::endl;
}

/// Descriptors, and memory beyond what is known to stay, from here on.
class flat_meter {
public:
    static std::size_t open_files() {
        const std::filesystem::directory_iterator files("/proc/self/fd");
        return static_cast<std::size_t>(std::distance(begin(files), end(files))) - 1;
    }

    /// Fails if anything has grown. Returns by how many bytes the heap has.
    std::ptrdiff_t check(std::size_t known_to_stay = 0) const {
        // What libraries keep for later. Some of what stays gets more of the heap than it needs.
        const std::size_t slack = 64 * 1024 + known_to_stay / 50;
        const auto grown = static_cast<std::ptrdiff_t>(heap_in_use() - m_heap - known_to_stay);
        EXPECT_EQ(open_files(), m_files);
        if (!is_sanitized) {
            EXPECT_LE(grown, static_cast<std::ptrdiff_t>(slack));
        }
        return grown;
    }

private:
    static std::size_t heap_in_use() {
        const struct mallinfo2 heap = mallinfo2();
        return heap.uordblks + heap.hblkhd;
    }

    std::size_t m_files = open_files();
    std::size_t m_heap = heap_in_use();
};

/// What work takes of the processor, and by how many MiB the process grows meanwhile.
struct cost {
    template <class Work>
    explicit cost(Work&& work) {
        malloc_trim(0); // or growth is hidden by what the heap has from before
        std::ofstream("/proc/self/clear_refs") << "5"; // the peak counts from here
        const std::size_t size = status_of("VmRSS:");
        const std::clock_t start = std::clock();
        work();
        seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        peak = status_of("VmHWM:") - std::min(status_of("VmHWM:"), size);
    }

    static std::size_t status_of(std::string_view field) {
        std::istringstream status(support::read_file("/proc/self/status"));
        std::size_t kilobytes = 0;
        for (std::string word; status >> word && word != field;) {}
        status >> kilobytes;
        return kilobytes / 1024;
    }

    double seconds = 0;
    std::size_t peak = 0;
};

/// A log of numbered lines, which are looked for in every file that it turns over.
class numbered_log {
public:
    static constexpr std::size_t lines_between_collections = 10'000;

    /// So many writers can be at it at once.
    explicit numbered_log(std::size_t writers) : m_written(writers), m_found(writers) {}

    /// The writer's next line.
    void write(std::size_t writer) {
        core::info_logger{} << "line " << writer << " " << m_written[writer];
        ++m_written[writer];
    }

    /// Call it before the log can have turned over twice, with nobody writing.
    void collect() {
        const std::string path = m_log.path() + ".bak";

        struct stat status {};

        if (stat(path.c_str(), &status) != 0 || status.st_ino == m_backup) return;
        m_backup = status.st_ino;
        EXPECT_TRUE(status.st_size >= 10'485'760 && status.st_size < 10'486'760) << status.st_size;
        read(path);
        ++m_turnovers;
    }

    /// Fails unless each line was there once and in order.
    void finish() {
        collect();
        read(m_log.path());
        EXPECT_EQ(m_found, m_written);
        say("the log lost nothing over ", m_turnovers, " turnovers");
    }

private:
    void read(const std::string& path) {
        for (const support::log_line& line : tool::parse_log(support::read_file(path))) {
            std::istringstream text(line.text);
            std::string word;
            std::size_t writer = 0;
            if (text >> word >> writer; word != "line") continue;
            std::size_t& next = m_found.at(writer);
            ASSERT_EQ(line.text, "line " + std::to_string(writer) + " " + std::to_string(next++));
        }
    }

    support::log_capture m_log{4};
    std::vector<std::size_t> m_written;
    std::vector<std::size_t> m_found;
    ino_t m_backup = 0;
    std::size_t m_turnovers = 0;
};

/// Writes a signed package in clear.
inline std::string write_package(const support::temp_folder& folder, const std::string& name,
                                 std::vector<support::zip_member> members) {
    support::package_builder package;
    package.payload = support::zip_builder{std::move(members)}.build().content;
    return folder.write(name, package.build());
}

inline unsigned short install(const std::string& path) {
    const std::wstring key = support::test_keys::signing().wide_public_path();
    return mv_update_scripts_package(engine::to_wide(path).c_str(), key.c_str());
}

inline void uninstall() { engine::storage_test_seam::package().reset(); }

/// A sample script of the suite.
struct sample {
    std::wstring name;
    std::vector<const char*> namespaces;
};

/// By number; eight of ten are sound.
inline const sample& sample_of(std::size_t number) {
    static const sample mail{L"mail.sc", {"Mail", "People"}};
    static const sample careless{L"careless.sc", {"Notes"}};
    static const sample broken{L"broken.sc", {"Songs", "Lists", "More"}};
    return number % 10 == 8 ? careless : number % 10 == 9 ? broken : mail;
}

inline std::vector<support::zip_member> sample_members() {
    std::vector<support::zip_member> members;
    for (const char* name : {"mail.sc", "careless.sc", "broken.sc"})
        members.push_back({name, support::read_file(std::string(SCRIPTS "/") + name)});
    return members;
}

/// Counts what the engine delivers, and keeps nothing of it.
class counting_script : public recorder::recording_script {
public:
    /// Reads the Header, the Include, and the Script sections of a sample.
    explicit counting_script(const sample& whole) : recording_script(whole.name.c_str()) {
        init();
        section("App", "Header");
        section("App", "Include");
        for (const char* where : whole.namespaces)
            section(where, "Script");
    }

    std::size_t sections = 0;
    std::array<std::size_t, 5> calls{}; // by recorder::call_kind

protected:
    engine::CScriptSection* add_section(const char* where, const char* name) override {
        ++sections;
        return recording_script::add_section(where, name);
    }

    std::unique_ptr<recorder::recording_body> make_body(const char* where,
                                                        const char* name) override {
        struct body : recorder::recording_body {
            using recording_body::recording_body;

            void record(recorder::call made) override { ++owner->calls[made.kind]; }

            counting_script* owner = nullptr;
        };

        auto made = std::make_unique<body>(where, name);
        made->owner = this;
        return made;
    }
};

} // namespace soak

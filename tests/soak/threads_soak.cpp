#include "soak/soak.h"

#include "support/received_file.h"
#include "support/threads.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <random>
#include <semaphore>

// A million operations in all.

namespace soak {

namespace {

using clock = std::chrono::steady_clock;

constexpr int readers = 4;
constexpr std::size_t operations_an_update = 200;
constexpr std::size_t operations_a_large_file = 256;
constexpr double longest_wait = 50; // milliseconds, behind the operations in progress

/// Letters in no order, other ones for each package.
std::string content(char package, std::size_t size) {
    std::mt19937 random(static_cast<unsigned>(package));
    std::string text(size, package);
    std::generate(text.begin(), text.end(), [&] { return static_cast<char>('a' + random() % 26); });
    return text;
}

/// Two packages of the same names. All files of one are the same, but for the length.
struct package_pair {
    package_pair() {
        for (const char package : {'x', 'y'}) {
            const std::string large = content(package, 1 << 20);
            const std::string small = large.substr(0, 1000);
            contents.push_back(large);
            paths.push_back(write_package(folder, std::string(1, package),
                                          {{"a.sc", small},
                                           {"b.xq", small},
                                           {"c.py", small},
                                           {"d.xml", small},
                                           {"Resources/e", small, 0},
                                           {"large.py", large},
                                           {"Resources/large", large, 0}}));
        }
    }

    /// Whether it is a file of one of the two, in its full length.
    bool knows(const std::string& text) const {
        if (text.size() != 1000 && text.size() != contents[0].size()) return false;
        return contents[0].starts_with(text) || contents[1].starts_with(text);
    }

    support::temp_folder folder;
    std::vector<std::string> contents;
    std::vector<std::string> paths;
};

using operation = std::function<bool(bool large)>;

/// Everything that a reader may ask of the storage.
std::vector<operation> all_operations(const package_pair& packages) {
    using store = engine::CScriptStorage;
    using files = engine::CScriptStorageInterface;
    const auto opens = [&](auto open, const wchar_t* small, const wchar_t* large) -> operation {
        return [=, &packages](bool is_large) {
            const core::input_stream_ptr file = (store::instance().*open)(is_large ? large : small);
            return file && packages.knows(file->read_string(file->size()));
        };
    };
    const auto gets = [&](auto get, const wchar_t* small, const wchar_t* large) -> operation {
        return [=, &packages](bool is_large) {
            support::received_file file;
            return get(is_large ? large : small, &file) && packages.knows(file.content);
        };
    };
    return {
        [](bool) { return store::instance().contains(L"c.py"); },
        [](bool) { return mv_experiments() == mv_success; },
        [](bool) {
            files names;
            const bool listed = names.next() != nullptr && names.next() == nullptr;
            names.update();
            names.reset();
            engine::CScript script(names.next());
            script.init(); // a section would leave memory behind
            return listed;
        },
        opens(&store::open_script, L"a.sc", L"a.sc"),
        opens(&store::open_python, L"c.py", L"large.py"),
        gets(files::get_xquery_script, L"b.xq", L"b.xq"),
        gets(files::get_python_script, L"c.py", L"large.py"),
        gets(files::get_xml_config_file, L"d.xml", L"d.xml"),
        gets(files::get_resource_file, L"Resources/e", L"Resources/large"),
    };
}

double milliseconds_since(clock::time_point start) {
    return std::chrono::duration<double, std::milli>(clock::now() - start).count();
}

} // namespace

TEST(Soak, storage) {
    const package_pair packages;
    const std::vector<operation> operations = all_operations(packages);
    ASSERT_EQ(install(packages.paths[0]), mv_success);
    const std::size_t total = part_of(500'000);
    std::atomic<std::size_t> next{0};
    std::counting_semaphore<> turn(0);
    std::vector<double> waits;               // of the writer
    std::array<double, readers> operating{}; // the longest operation of each
    const flat_meter flat;
    support::run_side_by_side(readers + 1, [&](int thread) {
        if (thread == readers) {
            for (std::size_t i = 0; i != total / operations_an_update; ++i) {
                turn.acquire();
                const clock::time_point asked = clock::now();
                EXPECT_FALSE(engine::CScriptStorage::instance().add_package(L"", L""));
                waits.push_back(milliseconds_since(asked));
                EXPECT_EQ(install(packages.paths[i % 2]), mv_success);
            }
            return;
        }
        double& longest = operating.at(static_cast<std::size_t>(thread));
        for (std::size_t i = next++; i < total; i = next++) {
            if ((i + 1) % operations_an_update == 0) turn.release();
            const bool is_large = i / operations.size() % operations_a_large_file == 0;
            const clock::time_point began = clock::now();
            EXPECT_TRUE(operations[i % operations.size()](is_large)) << i % operations.size();
            longest = std::max(longest, milliseconds_since(began));
        }
    });
    flat.check();
    uninstall();
    if (waits.empty()) return;
    std::sort(waits.begin(), waits.end());
    const double longest = *std::max_element(operating.begin(), operating.end());
    say(waits.size(), " updates; a writer waited ", waits[waits.size() / 2],
        " ms in the median and ", waits.back(), " ms at most, a reader ", longest, " ms at most");
    if (judges_time()) {
        EXPECT_LE(waits.back(), longest + longest_wait);
    }
}

TEST(Soak, log) {
    constexpr int writers = 8;
    constexpr std::size_t step = numbered_log::lines_between_collections;
    numbered_log log(writers);
    for (std::size_t left = part_of(400'000); left != 0; left -= std::min(left, step)) {
        support::run_side_by_side(writers, [&](int writer) {
            for (std::size_t line = 0; line < std::min(left, step) / writers; ++line) {
                log.write(static_cast<std::size_t>(writer));
                if (line % 1000 == 0) mv_set_log_level(line % 2000 == 0 ? 5 : 4, true);
            }
        });
        log.collect();
    }
    log.finish();
}

TEST(Soak, parallel) {
    const support::temp_folder folder;
    ASSERT_EQ(install(write_package(folder, "samples", sample_members())), mv_success);
    std::vector<std::array<std::size_t, 5>> expected;
    for (std::size_t i = 0; i != 10; ++i)
        expected.push_back(counting_script(sample_of(i)).calls);

    const std::size_t total = part_of(100'000);
    std::atomic<std::size_t> next{0};
    support::run_side_by_side(readers, [&](int) {
        for (std::size_t i = next++; i < total; i = next++)
            EXPECT_EQ(counting_script(sample_of(i)).calls, expected[i % 10]);
    });
    uninstall();
}

} // namespace soak

#include "soak/soak.h"

#include "core_crypto/rsakeys.h"
#include "core_crypto/rsasigner.h"

// What is too large for the suite. Each case that grows is run at a quarter first: time must grow
// with the size, and what of memory must not grow does not.

namespace soak {

namespace {

using support::bytes;

constexpr std::size_t megabyte = 1 << 20;
constexpr double most_growth = 6; // of the time, where the size grows fourfold

const std::string large_name = "Resources/large";
const std::string large_end = "the end.";

/// A package with one stored member: nothing but zeros in front of its last bytes, and a hole in
/// the file.
std::string write_sparse_package(const support::temp_folder& folder, std::uint64_t size) {
    support::zip_archive archive =
        support::zip_builder{{{.name = large_name, .content = "", .method = 0, .zip64 = 3}}}
            .build();
    const std::size_t record = archive.central_records[0];
    const std::size_t end = archive.content.size() - 22;
    const std::size_t sizes = end - 16; // the record's last fields, both 64 bits wide
    archive.put(sizes, size, 8);
    archive.put(sizes + 8, size, 8);
    archive.put(end + 16, 0xFFFFFFFF, 4); // the directory's place is in the wide end record
    const auto part = [&](std::size_t from, std::size_t to) {
        return bytes(archive.content.begin() + static_cast<std::ptrdiff_t>(from),
                     archive.content.begin() + static_cast<std::ptrdiff_t>(to));
    };
    bytes back = support::to_bytes(large_end);
    support::append(back, part(record, end));
    support::append_fields(back, {{0x06064B50, 4},
                                  {44, 8},
                                  {45, 2},
                                  {45, 2},
                                  {0, 8},
                                  {1, 8},
                                  {1, 8},
                                  {end - record, 8},
                                  {record + size, 8},
                                  {0x07064B50, 4},
                                  {0, 4},
                                  {end + size, 8},
                                  {1, 4}});
    support::append(back, part(end, archive.content.size()));

    support::package_builder package;
    const core::key_handle key =
        core::load_private_key(support::test_keys::signing().wide_private_path());
    core::rsa_signer signer(key.get());
    const bytes front = part(0, record);
    signer.update(front);
    const bytes zeros(megabyte);
    for (std::uint64_t left = size - large_end.size(); left != 0;) {
        const std::uint64_t count = std::min<std::uint64_t>(left, zeros.size());
        signer.update({zeros.data(), count});
        left -= count;
    }
    signer.update(back);
    signer.update(support::to_bytes(package.stamp));
    package.signature = signer.finish();
    package.payload.clear();

    std::string path = folder.write("sparse", package.build());
    std::ofstream file(path, std::ios::binary | std::ios::in | std::ios::ate);
    const auto put = [&](const bytes& piece) {
        file.write(reinterpret_cast<const char*>(piece.data()),
                   static_cast<std::streamsize>(piece.size()));
    };
    put(front);
    file.seekp(static_cast<std::streamoff>(size - large_end.size()), std::ios::cur);
    put(back);
    EXPECT_TRUE(file.flush().good());
    return path;
}

/// Does the work for a quarter and for all of it; fails unless time grows with the size.
cost compare(const std::string& what, std::size_t count, cost (*work)(std::size_t)) {
    const cost quarter = work(count / 4);
    const cost whole = work(count);
    uninstall();
    say(count, " ", what, ": ", whole.seconds, " s and ", whole.peak,
        " MiB at the peak; a quarter ", quarter.seconds, " s and ", quarter.peak, " MiB");
    if (judges_time()) {
        EXPECT_LE(whole.seconds, most_growth * quarter.seconds);
    }
    return whole;
}

/// Installs and reads a script that has nothing but these objects. Fails unless they arrive.
template <class Object>
cost cost_of_script(std::size_t objects, Object&& object) {
    const support::temp_folder folder;
    std::string text = "::Demo::Script::{\n";
    for (std::size_t i = 0; i != objects; ++i)
        text += object(i);
    EXPECT_EQ(install(write_package(folder, "one", {{"demo.sc", text + "}\n"}})), mv_success);
    std::string().swap(text);
    return cost([&] {
        const counting_script script({L"demo.sc", {"Demo"}});
        EXPECT_EQ(script.calls[recorder::call_object_function], objects);
        EXPECT_EQ(script.calls[recorder::call_object_end], objects);
    });
}

} // namespace

TEST(Soak, member4g) {
    const std::uint64_t size = part_of(std::size_t{1} << 32);
    const support::temp_folder folder;
    const std::string path = write_sparse_package(folder, size);
    const cost installing([&] { ASSERT_EQ(install(path), mv_success); });
    const cost reading([&] {
        const core::input_stream_ptr file =
            engine::CScriptStorage::instance().open_resource(engine::to_wide(large_name));
        ASSERT_TRUE(file);
        ASSERT_EQ(file->size(), size);
        bytes block(megabyte);
        for (std::uint64_t left = size - large_end.size(); left != 0;) {
            const std::uint64_t got =
                file->read_impl(block.data(), std::min<std::uint64_t>(left, block.size()));
            ASSERT_NE(got, 0u);
            ASSERT_EQ(std::count(block.begin(), block.begin() + static_cast<long>(got), 0),
                      static_cast<long>(got));
            left -= got;
        }
        EXPECT_EQ(file->read_string(100), large_end);
        EXPECT_TRUE(file->set_pos(size - large_end.size() - 2));
        EXPECT_EQ(file->read_string(100), std::string(2, '\0') + large_end);
    });
    uninstall();
    say("installed in ", installing.seconds, " s with ", installing.peak,
        " MiB at the peak, read in ", reading.seconds, " s with ", reading.peak, " MiB");
    if (!is_sanitized) {
        EXPECT_LT(std::max(installing.peak, reading.peak), 32u);
    }
}

TEST(Soak, script256m) {
    const cost whole = compare("objects of 1 KiB", part_of(256 * 1024), [](std::size_t objects) {
        return cost_of_script(objects, [](std::size_t) {
            return "/*" + std::string(519, '*') + "*/ SqliteAnalyzer<\"wal\">(fs.App, \"" +
                   std::string(432, 'a') + "\") { setInstantInitialize(true); }\n";
        });
    });
    if (!is_sanitized) {
        EXPECT_LT(whole.peak, 32u);
    }
}

TEST(Soak, objects1m) {
    compare("named objects in a section", part_of(1'000'000), [](std::size_t objects) {
        return cost_of_script(objects, [](std::size_t number) {
            return "o" + std::to_string(number) +
                   " = SqliteAnalyzer<>(fs.App, \"a.db\") { setInstantInitialize(true); }\n";
        });
    });
}

TEST(Soak, scripts100k) {
    compare("scripts in a package", part_of(100'000), [](std::size_t scripts) {
        const support::temp_folder folder;
        const std::string mail = sample_members()[0].content;
        std::vector<support::zip_member> members;
        for (std::size_t i = 0; i != scripts; ++i)
            members.push_back({"apps/" + std::to_string(i) + ".sc", mail});
        const std::string path = write_package(folder, "many", std::move(members));
        return cost([&] {
            EXPECT_EQ(install(path), mv_success);
            engine::CScriptStorageInterface names;
            std::size_t objects = 0;
            while (const wchar_t* name = names.next())
                objects +=
                    counting_script({name, {"Mail", "People"}}).calls[recorder::call_object_end];
            EXPECT_EQ(objects, 4 * scripts);
        });
    });
}

} // namespace soak

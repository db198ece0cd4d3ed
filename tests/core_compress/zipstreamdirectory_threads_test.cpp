#include "core_compress/zipstreamdirectory.h"

#include "support/temp_folder.h"
#include "support/zip_builder.h"

#include "core/winapifileinputstream.h"

#include <array>
#include <gtest/gtest.h>
#include <latch>
#include <thread>

namespace support {

TEST(ZipStreamDirectoryThreads, MembersAreReadSideBySide) {
    zip_builder builder;
    for (int i = 0; i != 20; ++i) {
        const std::string content(100000, static_cast<char>('a' + i));
        const std::uint16_t method = i % 2 == 0 ? 8 : 0;
        builder.members.push_back({std::to_string(i), content, method});
    }
    const temp_folder folder;
    folder.write("archive", builder.build().content);
    const core::CZipStreamDirectory archive(
        std::make_unique<core::CWApiFileInputStream>(folder.wide_file("archive")));
    // Clones of one stream share its access points.
    const core::input_stream_ptr shared = archive.open(L"0");

    std::array<int, 4> matches{};
    std::latch start(matches.size());
    std::vector<std::thread> readers;
    for (int& matched : matches) {
        const std::shared_ptr<core::input_stream> copy = shared->clone();
        readers.emplace_back([&, copy] {
            start.arrive_and_wait();
            for (const zip_member& member : builder.members) {
                const std::wstring name(member.name.begin(), member.name.end());
                const auto stream = archive.open(name);
                if (stream->read_string(stream->size()) == member.content) ++matched;
            }
            copy->set_pos(70000);
            if (copy->read_string(50000) == std::string(30000, 'a')) ++matched;
        });
    }
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(matches, (std::array{21, 21, 21, 21}));
}

} // namespace support

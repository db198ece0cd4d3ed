#include "core_compress/zipstreamdirectory.h"

#include "support/threads.h"
#include "support/zip_builder.h"

#include <array>
#include <gtest/gtest.h>

namespace support {

TEST(ZipStreamDirectoryThreads, MembersAreReadSideBySide) {
    const zip_builder builder{
        {{"deflated", std::string(100000, 'a')}, {"stored", std::string(100000, 'b'), 0}}};
    const bytes content = builder.build().content;
    const core::CZipStreamDirectory archive(
        std::make_unique<trickle_stream>(content, content.size()));
    // Clones of one stream share its access points.
    const core::input_stream_ptr shared = archive.open(L"deflated");
    std::array<core::input_stream_ptr, 4> copies;
    for (core::input_stream_ptr& copy : copies)
        copy = shared->clone();
    run_side_by_side(4, [&](int reader) {
        core::input_stream& copy = *copies[static_cast<std::size_t>(reader)];
        for (int time = 0; time != 10; ++time) {
            EXPECT_EQ(archive.open(L"deflated")->read_string(100000), builder.members[0].content);
            EXPECT_EQ(archive.open(L"stored")->read_string(100000), builder.members[1].content);
            copy.set_pos(70000);
            EXPECT_EQ(copy.read_string(50000), std::string(30000, 'a'));
        }
    });
}

} // namespace support

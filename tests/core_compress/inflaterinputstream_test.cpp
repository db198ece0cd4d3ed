#include "core_compress/inflaterinputstream.h"

#include "support/fuel_stream.h"
#include "support/log_capture.h"
#include "support/stream_contract.h"
#include "support/temp_folder.h"
#include "support/zip_builder.h"

#include "core/winapifileinputstream.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <sys/resource.h>

namespace support {

namespace {

using core::InflaterInputStream;

constexpr int raw = InflaterInputStream::raw_window_bits;
constexpr int zlib_wrapped = 15;
constexpr int gzip_wrapped = 31;
constexpr std::uint64_t small_span = 20000; // several access points in a small stream

enum content_kind { text, runs, noise };

std::string content_of(content_kind kind, std::size_t size) {
    std::mt19937 random(static_cast<unsigned>(size) + 1);
    std::string content;
    while (content.size() < size) {
        switch (kind) {
        case text:
            content += "line " + std::to_string(random() % 1000) + " of the script\n";
            break;
        case runs:
            content.append(33000, static_cast<char>('a' + random() % 3));
            break;
        case noise:
            content += static_cast<char>(random());
            break;
        }
    }
    content.resize(size);
    return content;
}

/// A clone that has its own state before anybody asks it to go anywhere.
class ready_cloning_stream : public InflaterInputStream {
public:
    using InflaterInputStream::InflaterInputStream;

    core::input_stream_ptr clone() const override {
        auto copy = std::make_unique<core::make_smart_enabler<ready_cloning_stream>>(*this);
        const std::uint64_t here = copy->pos_impl();
        static_cast<ready_cloning_stream&>(*copy).seek_inner(here);
        return copy;
    }
};

core::input_stream_ptr inflating(const bytes& packed, int window_bits = raw,
                                 std::uint64_t span = small_span) {
    return InflaterInputStream::create(deep_stream(packed), window_bits, span);
}

/// Seeded seeks, reads, skips and clones beside the plain content.
void expect_random_access(core::input_stream_ptr stream, const std::string& content) {
    std::mt19937_64 random(7);
    const auto up_to = [&](std::uint64_t last) { return random() % (last + 1); };
    const auto somewhere = [&]() -> std::uint64_t {
        if (up_to(1) == 0) return up_to(content.size());
        const std::uint64_t edge = up_to(content.size() / 32768) * 32768 + up_to(2);
        return std::min<std::uint64_t>(edge == 0 ? 0 : edge - 1, content.size());
    };
    for (int step = 0; step != 60; ++step) {
        const std::uint64_t target = somewhere();
        ASSERT_TRUE(stream->set_pos(target)) << "step " << step;
        if (up_to(4) == 0) stream = stream->clone();
        const std::uint64_t count = up_to(70000);
        ASSERT_EQ(stream->read_string(count), content.substr(target, count)) << "at " << target;
        ASSERT_EQ(stream->pos(), std::min<std::uint64_t>(target + count, content.size()));
    }
}

using content_row = std::tuple<std::size_t, content_kind, int, int>;

class InflatedContent : public testing::TestWithParam<content_row> {};

} // namespace

TEST_P(InflatedContent, ReadsAndSeeksLikeThePlainBytes) {
    const auto [size, kind, level, window_bits] = GetParam();
    const std::string content = content_of(kind, size);
    const bytes packed = deflated(content, {level, window_bits});
    const log_capture errors(core::level_error);
    auto stream =
        std::make_unique<ready_cloning_stream>(deep_stream(packed), window_bits, small_span);
    ASSERT_EQ(stream->size(), size);
    EXPECT_EQ(stream->pos(), 0u);
    EXPECT_EQ(stream->read_string(size + 1), content);
    EXPECT_EQ(stream->read_string(1), "");
    expect_random_access(std::move(stream), content);
    EXPECT_TRUE(errors.lines().empty());
}

// Sizes at which the last block is exactly full, or zlib owes output when the input is spent.
INSTANTIATE_TEST_SUITE_P(RawEdges, InflatedContent,
                         testing::Combine(testing::Values(0, 1, 32767, 32768, 32769, 33000, 65536,
                                                          65537, 1048576),
                                          testing::Values(text, runs, noise), testing::Values(0, 6),
                                          testing::Values(raw)));
INSTANTIATE_TEST_SUITE_P(Wrapped, InflatedContent,
                         testing::Combine(testing::Values(0, 32768, 200000),
                                          testing::Values(text, runs), testing::Values(9),
                                          testing::Values(zlib_wrapped, gzip_wrapped)));
INSTANTIATE_TEST_SUITE_P(Large, InflatedContent,
                         testing::Combine(testing::Values(5000000), testing::Values(text, noise),
                                          testing::Values(1), testing::Values(raw)));

namespace {

stream_class inflating_class(std::string name, std::uint64_t most_read) {
    const auto make = [=](const bytes& content) -> core::input_stream_ptr {
        const bytes packed =
            deflated({reinterpret_cast<const char*>(content.data()), content.size()});
        return std::make_unique<ready_cloning_stream>(
            std::make_unique<trickle_stream>(packed, most_read), raw, small_span);
    };
    stream_class row{std::move(name), make};
    row.block = 32768;
    return row;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Inflating, StreamContract,
                         testing::Values(inflating_class("Inflater", 1u << 20),
                                         inflating_class("InflaterOverTrickle", 3)),
                         row_name);

TEST(InflaterInputStream, PointWhereTheBufferIsFullHasNoHistory) {
    // The second copy refers back across a block end at which the buffer is exactly full.
    const std::string repeated = content_of(noise, 20000);
    const std::string content = content_of(noise, 12768) + repeated + repeated;
    const auto stream = inflating(deflated(content, {6, raw, 32768}), raw, 1000);
    EXPECT_EQ(stream->read_string(content.size()), content) << "reading on is not touched";
    stream->set_pos(0);
    stream->set_pos(33000);
    EXPECT_EQ(stream->read_string(1000), std::string(1000, '\0'));
    // A block that ends a byte earlier leaves room, and so has its history.
    const auto other = inflating(deflated(content, {6, raw, 32767}), raw, 1000);
    other->set_pos(0);
    other->set_pos(33000);
    EXPECT_EQ(other->read_string(1000), content.substr(33000, 1000));
}

TEST(InflaterInputStream, RefusedByZlib) {
    const log_capture log;
    const auto tank = std::make_shared<fuel_tank>();
    EXPECT_EQ(InflaterInputStream::create(std::make_unique<fuel_stream>(bytes(9), tank), 99, 1),
              nullptr);
    EXPECT_EQ(tank.use_count(), 1) << "the inner stream is gone";
    EXPECT_TRUE(log.lines().empty());
    try {
        InflaterInputStream(deep_stream(bytes(9)), 99, 1);
        FAIL() << "no exception";
    } catch (const core::exception& failure) {
        EXPECT_STREQ(failure.what(), "Infalter init failed.");
    }
}

namespace {

struct bad_data {
    const char* name;
    bytes packed;
    int window_bits;
    const char* line;
};

bytes joined(bytes left, std::string_view right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// A block of plain content that the buffer cannot hold, and then `tail`.
bytes stored_block_and(std::string_view tail) {
    constexpr std::size_t length = 40000;
    const bytes head = {0x00, length & 0xFF, length >> 8, ~length & 0xFF, (~length >> 8) & 0xFF};
    return joined(joined(head, content_of(text, length)), tail);
}

class InflaterBadData : public testing::TestWithParam<bad_data> {};

} // namespace

TEST_P(InflaterBadData, LeavesAnEmptyStream) {
    const log_capture log;
    const auto stream = inflating(GetParam().packed, GetParam().window_bits);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->size(), 0u);
    EXPECT_EQ(log.summary(), std::vector<std::string>{"ERROR inflaterinputstream: " +
                                                      std::string(GetParam().line)});
}

INSTANTIATE_TEST_SUITE_P(
    Rows, InflaterBadData,
    testing::Values(bad_data{"BlockType", {0x07}, raw, "Infalte status (-3): invalid block type"},
                    bad_data{"BlockTypeFurtherOn", stored_block_and("\x07"), raw,
                             "Infalte status (-3): invalid block type"},
                    bad_data{"Header",
                             {1, 2, 3, 4},
                             zlib_wrapped,
                             "Infalte status (-3): incorrect header check"},
                    bad_data{"PresetDictionary",
                             {0x78, 0x20, 1, 2, 3, 4, 5},
                             zlib_wrapped,
                             "Infalte status (-3): "}),
    row_name);

TEST(InflaterInputStream, SeekTriesABadStreamAgain) {
    const log_capture log;
    const auto stream = inflating(stored_block_and("\x07"));
    EXPECT_EQ(log.count("Infalte status (-3): invalid block type"), 1);
    EXPECT_FALSE(stream->set_pos(0)) << "the buffer holds the second block";
    EXPECT_EQ(log.count("Infalte status (-3): invalid block type"), 2);
}

TEST(InflaterInputStream, WrongCheckValueCostsNothing) {
    for (const int window_bits : {zlib_wrapped, gzip_wrapped}) {
        for (const std::size_t size : {0u, 100u, 32768u, 200000u}) {
            const std::string content = content_of(text, size);
            bytes packed = deflated(content, {6, window_bits});
            packed[packed.size() - (window_bits == gzip_wrapped ? 8 : 4)] ^= 1;
            const log_capture log;
            const auto stream = inflating(packed, window_bits);
            EXPECT_EQ(log.summary(),
                      std::vector<std::string>{
                          "ERROR inflaterinputstream: Infalte status (-3): incorrect data check"});
            EXPECT_EQ(stream->size(), size);
            EXPECT_EQ(stream->read_string(size + 1), content);
            EXPECT_TRUE(stream->set_pos(size / 2));
            EXPECT_EQ(stream->read_string(size), content.substr(size / 2));
        }
    }
}

TEST(InflaterInputStream, DataThatBreakOffAreAskedForWithoutEnd) {
    const std::string content = content_of(text, 100000);
    for (const int window_bits : {raw, zlib_wrapped}) {
        const bytes whole = deflated(content, {6, window_bits});
        for (const std::size_t kept : {std::size_t{1}, whole.size() / 2, whole.size() - 6}) {
            const auto tank = std::make_shared<fuel_tank>(fuel_tank{5000});
            const bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(kept));
            EXPECT_THROW(InflaterInputStream::create(std::make_unique<fuel_stream>(cut, tank),
                                                     window_bits, small_span),
                         out_of_fuel)
                << kept;
            EXPECT_TRUE(tank->dry());
        }
    }
}

TEST(InflaterInputStream, DataThatBreakOffAtAFullBlockEnd) {
    bytes packed = stored_block_and("");
    packed.resize(5 + 32768);
    const auto tank = std::make_shared<fuel_tank>(fuel_tank{1000});
    const auto stream =
        InflaterInputStream::create(std::make_unique<fuel_stream>(packed, tank), raw, small_span);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->size(), 0u);
    EXPECT_EQ(stream->read_uint8(), 'l') << "the block that came is still in the buffer";
    EXPECT_FALSE(tank->dry());
}

TEST(InflaterInputStream, CloneReadsItsBufferAndFreelyAfterASeek) {
    const std::string content = content_of(text, 200000);
    auto source = inflating(deflated(content));
    EXPECT_TRUE(source->set_pos(70000));
    source->read_bytes(10);
    const auto copy = source->clone();
    ASSERT_NE(copy, nullptr);
    const std::string rest = source->read_string(200000);
    source.reset();

    const log_capture log;
    const std::string buffered = copy->read_string(200000);
    EXPECT_FALSE(buffered.empty());
    EXPECT_LE(buffered.size(), 32768u);
    EXPECT_EQ(buffered, rest.substr(0, buffered.size()));
    EXPECT_EQ(copy->pos(), 70010 + buffered.size());
    EXPECT_EQ(log.count("Infalte status (-2): "), 1);
    EXPECT_TRUE(copy->set_pos(3));
    EXPECT_EQ(copy->read_string(200000), content.substr(3));
}

TEST(InflaterInputStream, CloneNeedsACloneOfTheInnerStream) {
    const auto tank = std::make_shared<fuel_tank>();
    const auto stream = InflaterInputStream::create(
        std::make_unique<fuel_stream>(deflated("abc"), tank), raw, small_span);
    tank->left = 0;
    const log_capture log;
    EXPECT_EQ(stream->clone(), nullptr);
    EXPECT_EQ(log.summary(), (std::vector<std::string>{
                                 "ERROR bufferedinputstream: [EXC] Failed to clone inner stream.",
                                 "ERROR inflaterinputstream: Failed to clone inner stream."}));
}

/// Empty stored blocks in front of the content must not cost a window each.
TEST(InflaterInputStream, EmptyBlocksCostNoAccessPoints) {
    bytes packed;
    const bytes empty_block{0x00, 0x00, 0x00, 0xFF, 0xFF};
    for (int i = 0; i != 200000; ++i)
        packed.insert(packed.end(), empty_block.begin(), empty_block.end());
    const bytes content = deflated("abc");
    packed.insert(packed.end(), content.begin(), content.end());
    rusage before{};
    getrusage(RUSAGE_SELF, &before);
    const auto stream = InflaterInputStream::create(deep_stream(packed), raw, 1u << 20);
    rusage after{};
    getrusage(RUSAGE_SELF, &after);
    EXPECT_EQ(stream->read_string(10), "abc");
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 100000) << "kilobytes";
}

TEST(InflaterInputStream, SeekToTheEndReadsNothingBehindIt) {
    const std::string content = content_of(noise, 300000);
    bytes packed = deflated(content, {.level = 0});
    const bytes spare{0x00, 0x04, 0x00, 0xFB, 0xFF, 'E', 'V', 'I', 'L', 0x00};
    packed.insert(packed.end(), spare.begin(), spare.end());
    const auto stream = InflaterInputStream::create(deep_stream(packed), raw, 1);
    ASSERT_EQ(stream->size(), content.size());
    EXPECT_TRUE(stream->set_pos(content.size()));
    EXPECT_THROW(stream->read_uint8(), core::exception);
    EXPECT_TRUE(stream->read_bytes(10).empty());
}

TEST(InflaterInputStream, SourceThatShrankIsReadToItsEnd) {
    const temp_folder folder;
    const std::string path = folder.write("member", deflated(content_of(noise, 200000)));
    const auto stream = InflaterInputStream::create(
        std::make_unique<core::CWApiFileInputStream>(folder.wide_file("member")), raw, 1u << 20);
    ASSERT_EQ(stream->size(), 200000u);
    std::filesystem::resize_file(path, 0);
    const log_capture log;
    EXPECT_TRUE(stream->set_pos(150000));
    EXPECT_EQ(log.count("[ASSERT] check_offset == idx"), 1);
    EXPECT_EQ(stream->pos(), 0u);
    EXPECT_TRUE(stream->read_bytes(100).empty());
    EXPECT_TRUE(stream->set_pos(0));
}

TEST(InflaterInputStream, SourceThatCannotSeekIsMeasuredOnly) {
    const bytes packed = deflated("some text");
    const auto stream = InflaterInputStream::create(
        std::make_unique<forward_stream>(packed, packed.size()), raw, small_span);
    EXPECT_FALSE(stream->is_seekable());
    EXPECT_EQ(stream->size(), 9u);
    EXPECT_TRUE(stream->read_bytes(9).empty());
}

} // namespace support

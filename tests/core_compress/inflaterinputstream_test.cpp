#include "core_compress/inflaterinputstream.h"

#include "support/fuel_stream.h"
#include "support/hooked_stream.h"
#include "support/inflating_stream.h"
#include "support/log_capture.h"
#include "support/stream_contract.h"
#include "support/zip_builder.h"

#include "core/winapifileinputstream.h"

#include <filesystem>
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
        if (kind == text) content += "line " + std::to_string(random() % 1000) + " of the script\n";
        if (kind == runs) content.append(33000, static_cast<char>('a' + random() % 3));
        if (kind == noise) content += static_cast<char>(random());
    }
    content.resize(size);
    return content;
}

/// A block of plain content that the buffer cannot hold, and then `tail`.
bytes stored_block_and(const bytes& tail) {
    constexpr std::size_t length = 40000;
    bytes packed = {0x00, length & 0xFF, length >> 8, ~length & 0xFF, (~length >> 8) & 0xFF};
    append(packed, content_of(text, length));
    append(packed, tail);
    return packed;
}

core::input_stream_ptr inflating(const bytes& packed, int window_bits = raw,
                                 std::uint64_t span = small_span) {
    return InflaterInputStream::create(deep_stream(packed), window_bits, span);
}

void expect_content(core::input_stream& stream, const std::string& content) {
    const std::size_t size = content.size();
    ASSERT_EQ(stream.size(), size);
    EXPECT_EQ(stream.read_string(size + 1), content);
    EXPECT_EQ(stream.read_string(1), "");
    std::mt19937 random(7);
    for (int step = 0; step != 30; ++step) {
        const std::size_t edge = random() % (size / 32768 + 1) * 32768 + random() % 3;
        const std::size_t anywhere = step % 2 == 0 ? random() : edge == 0 ? 0 : edge - 1;
        const std::size_t target = anywhere % (size + 1);
        ASSERT_TRUE(stream.set_pos(target)) << "step " << step;
        const std::size_t count = random() % 70000;
        ASSERT_EQ(stream.read_string(count), content.substr(target, count)) << "at " << target;
    }
}

// Sizes at which the last block is exactly full, or zlib owes output when the input is spent.
TEST(InflaterInputStream, ReadsAndSeeksLikeThePlainBytes) {
    for (const std::size_t size :
         {0U, 1U, 32767U, 32768U, 32769U, 33000U, 65536U, 65537U, 1048576U}) {
        for (const content_kind kind : {text, runs, noise}) {
            const std::string content = content_of(kind, size);
            for (const deflate_style style :
                 {deflate_style{0}, {6}, {9, zlib_wrapped}, {9, gzip_wrapped}}) {
                SCOPED_TRACE(std::to_string(size) + " of " + std::to_string(kind));
                bytes packed = deflated(content, style);
                const log_capture log;
                expect_content(*inflating(packed, style.window_bits), content);
                EXPECT_TRUE(log.lines().empty());
                if (style.window_bits == raw) continue;
                packed[packed.size() - (style.window_bits == gzip_wrapped ? 8 : 4)] ^= 1;
                expect_content(*inflating(packed, style.window_bits), content);
                EXPECT_EQ(log.count("Infalte status (-3): incorrect data check"), 1);
            }
        }
    }
}

template <std::uint64_t MostRead>
core::input_stream_ptr ready_cloning(const bytes& content) {
    const bytes packed = deflated({reinterpret_cast<const char*>(content.data()), content.size()});
    return std::make_unique<ready_cloning_stream>(
        std::make_unique<trickle_stream>(packed, MostRead), raw, small_span);
}

} // namespace

INSTANTIATE_TEST_SUITE_P(
    Inflating, StreamContract,
    testing::Values(
        stream_class{.name = "Inflater", .make = ready_cloning<1u << 20>, .block = 32768},
        stream_class{.name = "InflaterOverTrickle", .make = ready_cloning<3>, .block = 32768}),
    row_name);

TEST(InflaterInputStream, PointWhereTheBufferIsFullHasNoHistory) {
    // The second copy refers back across a block end at which the buffer is exactly full, or, if
    // the block ends a byte earlier, has room left and so its history.
    const std::string repeated = content_of(noise, 20000);
    const std::string content = content_of(noise, 12768) + repeated + repeated;
    for (const std::size_t block_end : {32768u, 32767u}) {
        const auto stream = inflating(deflated(content, {6, raw, block_end}), raw, 1000);
        EXPECT_EQ(stream->read_string(content.size()), content) << "reading on is not touched";
        stream->set_pos(0);
        stream->set_pos(33000);
        EXPECT_EQ(stream->read_string(1000),
                  block_end == 32768 ? std::string(1000, '\0') : content.substr(33000, 1000));
    }
}

/// Of a source that comes piece by piece, with nothing for once near its end if it `dries`. Sound
/// as the data are, the first pass then goes over them block by block, and keeps nothing.
core::input_stream_ptr inflating_slowly(const bytes& packed, std::uint64_t most_each, bool dries) {
    auto source = std::make_unique<hooked_stream>(packed, 0);
    source->before_read = [=, place = packed.size() / 10 * 9](trickle_stream& inner) mutable {
        const bool is_dry = inner.pos_impl() >= place && std::exchange(dries, false);
        inner.most = is_dry ? 0 : most_each;
    };
    return InflaterInputStream::create(std::move(source), raw, 1000);
}

/// One operation on a stream, and all that shows of it.
std::string shown_by(core::input_stream_ptr& stream, std::mt19937 random) {
    const std::uint64_t where = random() % 3 == 0 ? random() % 9 * 32768 : random() % 300000;
    const std::uint64_t count = random() % 3 == 0 ? 100000 : random() % 40000;
    const auto kind = random() % 7;
    const log_capture log;
    std::string shown;
    if (kind == 0) shown = std::to_string(stream->set_pos(where));
    if (kind == 1) shown = std::to_string(stream->prev(count));
    if (kind == 2) shown = std::to_string(stream->read_uint32(7u, core::encoding_little_endian));
    if (kind == 3) stream = stream->clone();
    if (kind >= 4) shown = stream->read_string(count);
    return shown + " at " + std::to_string(stream->pos()) + testing::PrintToString(log.summary());
}

TEST(InflaterInputStream, WhatTheFirstPassKeptShowsNowhere) {
    for (unsigned seed = 0; seed != 80; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const std::string content =
            content_of(content_kind(seed % 3), 32768 + random() % 3 * 65536 + random() % 2 * 777);
        // Blocks that end at a full buffer too, so that points without history are among them.
        const std::size_t block_end = 32768 * (1 + random() % 4) - random() % 2;
        const bytes packed =
            deflated(content, {static_cast<int>(random() % 10), raw, block_end % content.size()});
        const std::uint64_t most_each = seed % 2 == 0 ? 1 : 1 + packed.size() / 50;
        core::input_stream_ptr kept = inflating_slowly(packed, most_each, false);
        core::input_stream_ptr not_kept = inflating_slowly(packed, most_each, true);
        for (int step = 0; step != 12; ++step) {
            const std::mt19937 operation(static_cast<unsigned>(random()));
            ASSERT_EQ(shown_by(kept, operation), shown_by(not_kept, operation)) << "step " << step;
        }
    }
}

TEST(InflaterInputStream, ContentIsInflatedOnceForAReaderInOrder) {
    for (const std::size_t size : {70000u, 4194304u, 4194305u, 6000000u}) {
        const std::string content = content_of(text, size);
        const auto tank = std::make_shared<fuel_tank>();
        const auto stream = InflaterInputStream::create(
            std::make_unique<fuel_stream>(deflated(content), tank), raw, 1000);
        const std::uint64_t reads = tank->reads;
        EXPECT_EQ(stream->read_string(40000) + stream->read_string(size), content);
        EXPECT_EQ(tank->reads == reads, size <= 4194304) << size;
        EXPECT_TRUE(stream->set_pos(0));
        EXPECT_EQ(stream->read_string(size), content);
        EXPECT_GT(tank->reads, reads);
        for (std::size_t place = size / 65536 * 65536; place != 0; place -= 65536) {
            EXPECT_TRUE(stream->set_pos(place)); // backwards, so that each begins at a point
            ASSERT_TRUE(stream->read_string(65536) == content.substr(place, 65536)) << place;
        }
    }
}

TEST(InflaterInputStream, BadDataLeaveAnEmptyStream) {
    const log_capture log;
    EXPECT_EQ(inflating(bytes(9), 99), nullptr);
    EXPECT_THROW(InflaterInputStream(deep_stream(bytes(9)), 99, 1), core::exception);
    EXPECT_EQ(inflating({0x07})->size(), 0u);
    EXPECT_EQ(inflating({0x78, 0x20, 1, 2, 3, 4, 5}, zlib_wrapped)->size(), 0u)
        << "wants a preset dictionary";
    const auto stream = inflating(stored_block_and({0x07}));
    EXPECT_EQ(stream->size(), 0u);
    EXPECT_FALSE(stream->set_pos(0)) << "the buffer holds the second block: tried once more";
    const std::string module = "ERROR inflaterinputstream: ";
    const std::string invalid = module + "Infalte status (-3): invalid block type";
    EXPECT_EQ(log.summary(), (std::vector{module + "[EXC] Infalter init failed.", invalid,
                                          module + "Infalte status (-3): ", invalid, invalid}));
}

TEST(InflaterInputStream, DataThatBreakOff) {
    const auto on_fuel = [](const bytes& packed, int window_bits = raw) {
        auto tank = std::make_shared<fuel_tank>(fuel_tank{5000});
        return InflaterInputStream::create(std::make_unique<fuel_stream>(packed, std::move(tank)),
                                           window_bits, small_span);
    };
    for (const int window_bits : {raw, zlib_wrapped}) {
        bytes cut = deflated(content_of(text, 100000), {6, window_bits});
        cut.resize(cut.size() - 6);
        EXPECT_THROW(on_fuel(cut, window_bits), out_of_fuel) << "asked for on";
    }
    bytes at_block_end = stored_block_and({});
    at_block_end.resize(5 + 32768);
    const auto stream = on_fuel(at_block_end);
    EXPECT_EQ(stream->size(), 0u);
    EXPECT_EQ(stream->read_uint8(), 'l') << "the block that came is still in the buffer";
}

TEST(InflaterInputStream, CloneReadsItsBufferAndAllThereIsAfterASeek) {
    const std::string content = content_of(text, 200000);
    auto source = inflating(deflated(content));
    EXPECT_TRUE(source->set_pos(70010));
    source->read_bytes(10);
    const auto copy = source->clone();
    source.reset();
    const log_capture log;
    const std::string buffered = copy->read_string(200000);
    EXPECT_TRUE(!buffered.empty() && buffered.size() <= 32768u);
    EXPECT_EQ(buffered, content.substr(70020, buffered.size()));
    EXPECT_EQ(log.count("Infalte status (-2): "), 1);
    EXPECT_TRUE(copy->set_length(10) && copy->set_pos(8));
    copy->read_uint32(core::encoding_little_endian); // beyond its view
    EXPECT_EQ(copy->read_string(1000000), content.substr(12));
}

/// Empty stored blocks in front of the content must not cost a window each.
TEST(InflaterInputStream, EmptyBlocksCostNoAccessPoints) {
    bytes packed;
    for (int i = 0; i != 200000; ++i)
        append(packed, bytes{0x00, 0x00, 0x00, 0xFF, 0xFF});
    append(packed, deflated("abc"));
    rusage before{};
    getrusage(RUSAGE_SELF, &before);
    EXPECT_EQ(inflating(packed, raw, 1u << 20)->read_string(10), "abc");
    rusage after{};
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 100000) << "kilobytes";
}

TEST(InflaterInputStream, SeekToTheEndReadsNothingBehindIt) {
    bytes packed = deflated(content_of(noise, 300000), {.level = 0});
    append(packed, bytes{0x00, 0x04, 0x00, 0xFB, 0xFF, 'E', 'V', 'I', 'L', 0x00});
    const auto stream = inflating(packed, raw, 1);
    EXPECT_TRUE(stream->set_pos(300000));
    EXPECT_THROW(stream->read_uint8(), core::exception);
    EXPECT_TRUE(stream->read_bytes(10).empty());
}

TEST(InflaterInputStream, SourceThatShrankOrCannotSeek) {
    const temp_folder folder;
    const std::string path = folder.write("member", deflated(content_of(noise, 200000)));
    const auto stream = InflaterInputStream::create(
        std::make_unique<core::CWApiFileInputStream>(folder.wide_file("member")), raw, 1u << 20);
    std::filesystem::resize_file(path, 0);
    const log_capture log;
    EXPECT_TRUE(stream->set_pos(150000));
    EXPECT_EQ(log.count("[ASSERT] check_offset == idx"), 1);
    EXPECT_EQ(stream->pos(), 0u);
    EXPECT_TRUE(stream->read_bytes(100).empty());

    const auto forward = InflaterInputStream::create(
        std::make_unique<forward_stream>(deflated("some text"), 1000), raw, small_span);
    EXPECT_EQ(forward->size(), 9u);
    EXPECT_TRUE(forward->read_bytes(9).empty()) << "measured is all that it is";
}

} // namespace support

#include "core_crypto/aes_cfb_inputstream.h"

#include "support/hooked_stream.h"
#include "support/log_capture.h"
#include "support/stream_contract.h"
#include "support/temp_folder.h"

#include "core/winapifileinputstream.h"
#include "core_crypto/keyderivation.h"

#include <gtest/gtest.h>

namespace support {

namespace {

using core::CAESCFBInputStream;

const bytes key = counted_bytes(32);
const bytes iv = to_bytes("sixteen bytes iv");

bytes encrypted(const bytes& plain) {
    core::CCipher cipher(core::op_encrypt, core::mode_cfb, key);
    cipher.set_iv(iv);
    cipher.append(plain.data(), plain.size());
    return cipher.finish();
}

/// Decrypts a file, behind a few bytes that do not belong to the cipher text.
core::input_stream_ptr decrypting(const bytes& plain) {
    const temp_folder folder;
    bytes content = to_bytes("header");
    append(content, encrypted(plain));
    folder.write("content", content);
    auto file = std::make_unique<core::CWApiFileInputStream>(folder.wide_file("content"));
    file->set_pos(6);
    file->mark_begin();
    return std::make_unique<CAESCFBInputStream>(std::move(file), key, iv, false);
}

INSTANTIATE_TEST_SUITE_P(Aes, StreamContract,
                         testing::Values(stream_class{
                             .name = "Decrypting", .make = decrypting, .block = 16384}),
                         row_name);

} // namespace

TEST(AesInputStream, HidesPaddingAsInPkcs7AndNothingElse) {
    const std::tuple<std::size_t, bytes, std::size_t> rows[] = {{32, bytes(16, 16), 16},
                                                                {17, {1}, 1},
                                                                {32, {3, 2, 3}, 0},
                                                                {32, {0}, 0},
                                                                {15, {1}, 0},
                                                                {32, bytes(17, 17), 0},
                                                                {16385, {3, 3, 3}, 3}};
    for (const auto& [size, tail, hidden] : rows) {
        SCOPED_TRACE(size + tail.size());
        bytes plain = counted_bytes(size - tail.size());
        append(plain, tail);
        const CAESCFBInputStream stream(std::make_unique<trickle_stream>(encrypted(plain), 1 << 20),
                                        key, iv, true);
        plain.resize(size - hidden);
        EXPECT_EQ(stream.size(), plain.size());
        EXPECT_EQ(stream.pos(), 0U);
        EXPECT_EQ(stream.clone()->read_bytes(20000), plain);
    }
}

TEST(AesInputStream, AnyOtherIvCountsAsNone) {
    const auto with = [](const bytes& start) {
        return CAESCFBInputStream(deep_stream(bytes(50)), key, start, false).read_bytes(100);
    };
    for (const bytes& none : {bytes(12, 7), bytes(20, 7), bytes(16)})
        EXPECT_EQ(with(none), with({}));
    EXPECT_NE(with(bytes(16, 7)), with({}));
}

/// Far from where it stands, with one look at the block before and one fill of the buffer.
TEST(AesInputStream, SeeksCostTheSameWhateverTheDistance) {
    auto owned = std::make_unique<trickle_stream>(encrypted(counted_bytes(1'000'000)), 1 << 20);
    trickle_stream& inner = *owned;
    CAESCFBInputStream stream(std::move(owned), key, iv, false);
    for (const std::uint64_t place : {900'001U, 15U, 16U, 0U, 500'000U}) {
        inner.reads = 0;
        ASSERT_TRUE(stream.set_pos(place));
        EXPECT_EQ(stream.read_uint8(), place % 251);
        EXPECT_LE(inner.reads, 2);
    }
}

TEST(AesInputStream, FailuresGiveNoBytes) {
    const log_capture log;
    CAESCFBInputStream bad_key(deep_stream(counted_bytes(100)), bytes(20), iv, false);
    EXPECT_EQ(bad_key.read_bytes(10), bytes());
    EXPECT_EQ(bad_key.size(), 100U);
    EXPECT_GT(log.count("[ASSERT] rc"), 0);

    CAESCFBInputStream nothing(nullptr, key, iv, false);
    EXPECT_EQ(nothing.read_bytes(10), bytes());
    EXPECT_FALSE(nothing.set_pos(1));
    EXPECT_TRUE(core::hkdf_sha256("s", "s", "i", 255 * 32 + 1).empty()) << "more than there is";

    auto owned = std::make_unique<trickle_stream>(counted_bytes(100), 16384);
    owned->clone_fails = true;
    EXPECT_EQ(CAESCFBInputStream(std::move(owned), key, iv, false).clone(), nullptr);

    CAESCFBInputStream cannot_seek(
        std::make_unique<forward_stream>(encrypted(counted_bytes(40'000)), 16384), key, iv, false);
    EXPECT_EQ(cannot_seek.read_bytes(3), (bytes{0, 1, 2}));
    EXPECT_FALSE(cannot_seek.set_pos(30'000));
    EXPECT_TRUE(cannot_seek.reset());
    EXPECT_EQ(cannot_seek.read_bytes(3), (bytes{0, 1, 2}));
}

TEST(AesInputStream, InnerStreamThatFailsInMidSeek) {
    const log_capture log(4);
    auto owned = std::make_unique<hooked_stream>(encrypted(counted_bytes(100'000)), 1 << 20);
    hooked_stream& inner = *owned;
    CAESCFBInputStream stream(std::move(owned), key, iv, false);
    EXPECT_EQ(stream.read_bytes(3), (bytes{0, 1, 2}));
    inner.before_read = [](auto&) { throw std::runtime_error("disk on fire"); };
    EXPECT_FALSE(stream.set_pos(50'000));
    EXPECT_EQ(stream.read_bytes(3), bytes()) << "nothing of the old block";
    EXPECT_EQ(log.summary(), (std::vector<std::string>{"ERROR aes_cfb_inputstream: disk on fire",
                                                       "ERROR aes_inputstream: disk on fire"}));
    inner.before_read = nullptr;
    inner.most = 0; // and now it gives nothing
    EXPECT_FALSE(stream.set_pos(50'000)) << "without the block before, no byte behind it";
    inner.most = 1 << 20;
    EXPECT_TRUE(stream.set_pos(50'000));
    EXPECT_EQ(stream.read_uint8(), 50'000 % 251);
}

} // namespace support

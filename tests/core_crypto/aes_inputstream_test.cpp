#include "core_crypto/aes_cfb_inputstream.h"

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

core::input_stream_ptr padded(const bytes& plain) {
    return std::make_unique<CAESCFBInputStream>(
        std::make_unique<trickle_stream>(encrypted(plain), 1 << 20), key, iv, true);
}

INSTANTIATE_TEST_SUITE_P(Aes, StreamContract,
                         testing::Values(stream_class{
                             .name = "Decrypting", .make = decrypting, .block = 16384}),
                         row_name);

} // namespace

TEST(AesInputStream, HidesPaddingAsInPkcs7AndNothingElse) {
    struct {
        const char* name;
        std::size_t size;
        bytes tail;
        std::size_t hidden;
    } const rows[] = {
        {"Whole", 32, bytes(16, 16), 16},      {"One", 17, {1}, 1},
        {"Wrong", 32, {3, 2, 3}, 0},           {"Zero", 32, {0}, 0},
        {"TooLarge", 32, bytes(17, 17), 0},    {"TooShortToHaveAny", 15, {1}, 0},
        {"AcrossABlock", 16385, {3, 3, 3}, 3},
    };

    for (const auto& row : rows) {
        bytes plain = counted_bytes(row.size);
        std::copy(row.tail.begin(), row.tail.end(),
                  plain.end() - static_cast<std::ptrdiff_t>(row.tail.size()));
        const auto stream = padded(plain);
        plain.resize(row.size - row.hidden);
        EXPECT_EQ(stream->size(), plain.size()) << row.name;
        EXPECT_EQ(stream->pos(), 0U) << row.name;
        EXPECT_EQ(stream->read_bytes(20000), plain) << row.name;
    }
}

TEST(AesInputStream, AnyOtherIvCountsAsNone) {
    const bytes content = counted_bytes(100);
    const auto with = [&](const bytes& start) {
        return CAESCFBInputStream(deep_stream(content), key, start, false).read_bytes(100);
    };
    EXPECT_EQ(with(bytes(12, 7)), with({}));
    EXPECT_EQ(with(bytes(20, 7)), with({}));
    EXPECT_EQ(with(bytes(16)), with({}));
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
        EXPECT_LE(inner.reads, 2);
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

    auto owned = std::make_unique<trickle_stream>(counted_bytes(100), 16384);
    owned->clone_fails = true;
    const CAESCFBInputStream no_clone(std::move(owned), key, iv, false);
    EXPECT_EQ(no_clone.clone(), nullptr);

    CAESCFBInputStream cannot_seek(
        std::make_unique<forward_stream>(encrypted(counted_bytes(40'000)), 16384), key, iv, false);
    EXPECT_EQ(cannot_seek.read_bytes(3), (bytes{0, 1, 2}));
    EXPECT_FALSE(cannot_seek.set_pos(30'000));
    EXPECT_TRUE(cannot_seek.reset());
    EXPECT_EQ(cannot_seek.read_bytes(3), (bytes{0, 1, 2}));
}

TEST(AesInputStream, InnerStreamThatFailsInMidSeek) {
    struct failing_stream : trickle_stream {
        using trickle_stream::trickle_stream;

        std::uint64_t read_impl(std::uint8_t* buffer, std::uint64_t count) override {
            if (throws) throw std::runtime_error("disk on fire");
            return trickle_stream::read_impl(buffer, count);
        }

        bool throws = false;
    };

    const log_capture log(4);
    auto owned = std::make_unique<failing_stream>(encrypted(counted_bytes(100'000)), 1 << 20);
    failing_stream& inner = *owned;
    CAESCFBInputStream stream(std::move(owned), key, iv, false);
    EXPECT_EQ(stream.read_bytes(3), (bytes{0, 1, 2}));
    inner.throws = true;
    EXPECT_FALSE(stream.set_pos(50'000));
    EXPECT_EQ(stream.read_bytes(3), bytes()) << "nothing of the old block";
    EXPECT_EQ(log.summary(), (std::vector<std::string>{"ERROR aes_cfb_inputstream: disk on fire",
                                                       "ERROR aes_inputstream: disk on fire"}));
    inner.throws = false;
    inner.most = 0; // and now it gives nothing
    EXPECT_FALSE(stream.set_pos(50'000)) << "without the block before, no byte behind it";
    inner.most = 1 << 20;
    EXPECT_TRUE(stream.set_pos(50'000));
    EXPECT_EQ(stream.read_uint8(), 50'000 % 251);
}

/// RFC 5869, test case 1, and the beginning of a longer output of it.
TEST(KeyDerivation, GivesThePublishedBytes) {
    const std::string secret(22, '\x0b');
    const bytes salt = from_hex("000102030405060708090a0b0c");
    const bytes info = from_hex("f0f1f2f3f4f5f6f7f8f9");
    const auto text = [](const bytes& content) {
        return std::string(content.begin(), content.end());
    };
    const bytes whole = from_hex("3cb25f25faacd57a90434f64d0362f2a2d2d0a90cf1a5a4c5db02d56ecc4c5bf"
                                 "34007208d5b887185865");
    for (const std::size_t length : {42U, 16U}) {
        EXPECT_EQ(core::hkdf_sha256(secret, text(salt), text(info), length),
                  bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
    }
    EXPECT_TRUE(core::hkdf_sha256(secret, "s", "i", 255 * 32 + 1).empty()) << "more than it gives";
    EXPECT_EQ(ERR_peek_error(), 0UL);
}

} // namespace support

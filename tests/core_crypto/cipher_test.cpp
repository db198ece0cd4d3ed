#include "core_crypto/cipher.h"

#include "support/log_capture.h"
#include "support/test_streams.h"

#include <climits>
#include <gtest/gtest.h>

namespace {

using namespace core;
using support::bytes;
using support::from_hex;

constexpr const char* plain_text =
    "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
    "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710";

/// NIST SP 800-38A, appendix F, with the key and the IV that it counts up.
const std::tuple<ECipherMode, const char*, const char*> vectors[] = {
    {mode_cbc, "603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4",
     "f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"
     "39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b"},
    {mode_cfb, "2b7e151628aed2a6abf7158809cf4f3c",
     "3b3fd92eb72dad20333449f8e83cfb4ac8a64537a0b3a93fcde3cdad9f1ce58b"
     "26751f67a3cbb140b1808cf187a4f4dfc04b05357c5d1c0eeac4c66f9ff7f2e6"},
};

TEST(Cipher, GivesThePublishedBytesBothWaysInOneAndInPieces) {
    const bytes iv = from_hex("000102030405060708090a0b0c0d0e0f");
    const bytes plain = from_hex(plain_text);
    for (const auto& [mode, key, cipher] : vectors) {
        CCipher encrypting(op_encrypt, mode, from_hex(key));
        ASSERT_TRUE(encrypting.set_iv(iv));
        ASSERT_TRUE(encrypting.set_padding(false));
        ASSERT_TRUE(encrypting.append(plain.data(), plain.size()));
        const bytes encrypted = encrypting.finish();
        EXPECT_EQ(encrypted, from_hex(cipher));
        EXPECT_TRUE(encrypting.finish().empty()) << "no old output";

        CCipher decrypting(op_decrypt, mode, from_hex(key));
        ASSERT_TRUE(decrypting.set_iv(iv));
        decrypting.set_padding(false);
        ASSERT_TRUE(decrypting.append(encrypted.data(), 21));
        const auto other = decrypting.clone();
        for (std::size_t at = 21; at < encrypted.size(); at += 7)
            ASSERT_TRUE(other->append(&encrypted[at], std::min<std::size_t>(7, 64 - at)));
        EXPECT_EQ(other->finish(), plain) << "also by a copy from the middle on";
    }
}

/// McGrew and Viega, "The Galois/Counter Mode of Operation", test case 4.
TEST(Cipher, GcmVerifiesItsTag) {
    const bytes key = from_hex("feffe9928665731c6d6a8f9467308308");
    const bytes iv = from_hex("cafebabefacedbaddecaf888");
    const bytes aad = from_hex("feedfacedeadbeeffeedfacedeadbeefabaddad2");
    const bytes encrypted =
        from_hex("42831ec2217774244b7221b784d0d49ce3aa212f2c02a4e035c17e2329aca12e"
                 "21d514b25466931c7d8f6a5aac84aa051ba30b396a0aac973d58e091");
    const bytes plain = from_hex("d9313225f88406e5a55909c5aff5269a86a7a9531534f7da2e4c303d8a318a72"
                                 "1c3c0c95956809532fcf0e2449a6b525b16aedf5aa0de657ba637b39");
    bytes tag = from_hex("5bc94fbc3221a5db94fae95ae7121a47");
    for (const bool sound : {true, false}) {
        CCipher cipher(op_decrypt, mode_gcm, key);
        EXPECT_FALSE(cipher.set_aad(aad)) << "there is no context yet";
        ASSERT_TRUE(cipher.set_iv(iv));
        EXPECT_TRUE(cipher.set_aad(aad));
        EXPECT_FALSE(cipher.set_aad(std::string()) || cipher.set_tag(bytes(17)) ||
                     cipher.set_tag(bytes()));
        if (!sound) tag[0] ^= 1;
        EXPECT_TRUE(cipher.set_tag(tag));
        ASSERT_TRUE(cipher.append(encrypted.data(), encrypted.size()));
        EXPECT_EQ(cipher.finish(), sound ? plain : bytes());
        EXPECT_FALSE(cipher.append(0)) << "the work is done, one way or the other";
    }
    CCipher encrypting(op_encrypt, mode_gcm, key);
    ASSERT_TRUE(encrypting.set_iv(iv));
    EXPECT_FALSE(encrypting.set_aad(aad)) << "the decrypting call serves both";
    EXPECT_FALSE(encrypting.append(1)) << "a failure ends the work";
    CCipher cfb(op_decrypt, mode_cfb, key);
    ASSERT_TRUE(cfb.set_iv(tag));
    EXPECT_FALSE(cfb.set_aad(aad)) << "libcrypto would write to the null pointer";
}

TEST(Cipher, KeysThatFitTheMode) {
    const std::string names[] = {"ECB", "CBC", "CFB", "CTR", "GCM", "XTS"};
    for (const std::size_t length : {0U, 16U, 20U, 24U, 32U, 64U}) {
        for (std::uint32_t mode = mode_ecb; mode <= mode_xts + 1; ++mode) {
            const bool is_key = length == 16 || length == 24 || length == 32;
            const bool fits =
                mode == mode_xts ? length == 32 || length == 64 : is_key && mode < mode_xts;
            CBaseCipher cipher(op_encrypt, ECipherMode(mode), support::counted_bytes(length));
            EXPECT_EQ(cipher.set_iv(bytes(16)), fits) << mode << " with " << length;
            const EVP_CIPHER* found = cipher_for(ECipherMode(mode), length);
            ASSERT_EQ(found != nullptr, fits);
            const std::size_t bits = length * 8 / (mode == mode_xts ? 2 : 1);
            EXPECT_TRUE(!fits ||
                        EVP_CIPHER_is_a(
                            found, ("AES-" + std::to_string(bits) + "-" + names[mode]).c_str()));
        }
    }
}

TEST(Cipher, FailuresLeaveNoContextAndNoTrace) {
    const support::log_capture log;
    const bytes key(16);
    bytes content(64);
    std::uint8_t* const room = content.data();
    CBaseCipher fresh(op_encrypt, mode_cfb, key);
    EXPECT_EQ(fresh.update_into(room, 64, room, 1), -1) << "init comes first";
    EXPECT_EQ(fresh.final_into(room, 64), -1);
    EXPECT_FALSE(fresh.set_iv(bytes(15))) << "too short to be read";
    EXPECT_TRUE(fresh.set_iv(bytes(17)));
    EXPECT_TRUE(fresh.restart_without_iv());
    EXPECT_EQ(fresh.update_into(room, 16, room, 16), 16);
    EXPECT_EQ(fresh.update_into(room, 64, room, 65), -1) << "no room";
    EXPECT_EQ(fresh.final_into(room, 15), -1) << "no room";
    EXPECT_EQ(log.count("[ASSERT] false"), 2);
    EXPECT_EQ(fresh.final_into(room, 16), 0) << "which left the context";
    EXPECT_EQ(fresh.update_into(room, SIZE_MAX, room, std::size_t{INT_MAX}), -1);
    EXPECT_EQ(fresh.update_into(room, 64, room, 1), -1) << "which did not";

    CBaseCipher block(op_decrypt, mode_cbc, key);
    ASSERT_TRUE(block.set_iv(bytes(16)));
    EXPECT_EQ(block.update_into(room, 31, room, 16), -1) << "a block more is needed";
    EXPECT_EQ(block.update_into(room, 64, room, 15), 0);
    EXPECT_EQ(block.final_into(room, 64), -1) << "a part of a block";
    EXPECT_FALSE(block.set_padding(true));
    EXPECT_EQ(ERR_peek_error(), 0UL) << "the queue is the host's";

    CCipher odd(ECipherOperation(3), mode_cfb, key);
    EXPECT_FALSE(odd.set_iv(bytes(16)) || odd.append(1));
    EXPECT_TRUE(odd.finish().empty());
}

TEST(Cipher, CollectedOutputGoesWithCopiesAndInit) {
    CCipher cipher(op_encrypt, mode_cfb, bytes(16));
    ASSERT_TRUE(cipher.set_iv(bytes(16)));
    EXPECT_TRUE(cipher.append(1));
    const auto copy = cipher.clone();
    cipher.init();
    EXPECT_TRUE(cipher.append(2) && copy->append(2));
    EXPECT_EQ(cipher.finish().size(), 1U);
    EXPECT_EQ(copy->finish().size(), 2U);

    CCipher block(op_encrypt, mode_cbc, bytes(16));
    ASSERT_TRUE(block.set_iv(bytes(16)));
    EXPECT_TRUE(block.append(1));
    EXPECT_EQ(block.finish().size(), 16U) << "padded";
    ASSERT_TRUE(block.restart_without_iv());
    EXPECT_TRUE(block.append(bytes(17).data(), 17));
    block.set_padding(false);
    EXPECT_TRUE(block.finish().empty()) << "a part of a block is left";
    EXPECT_TRUE(block.finish().empty()) << "and the context gone";
}

} // namespace

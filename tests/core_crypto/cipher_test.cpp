#include "core_crypto/cipher.h"

#include "support/log_capture.h"
#include "support/rows.h"
#include "support/test_streams.h"

#include <climits>
#include <gtest/gtest.h>

namespace {

using namespace core;
using support::bytes;
using support::from_hex;

struct vector_case {
    const char* name;
    ECipherMode mode;
    const char* key;
    const char* iv;
    const char* plain;
    const char* cipher;
};

constexpr const char* key_128 = "2b7e151628aed2a6abf7158809cf4f3c";
constexpr const char* key_192 = "8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b";
constexpr const char* key_256 = "603deb1015ca71be2b73aef0857d7781"
                                "1f352c073b6108d72d9810a30914dff4";
constexpr const char* counted_iv = "000102030405060708090a0b0c0d0e0f";
constexpr const char* counter = "f0f1f2f3f4f5f6f7f8f9fafbfcfdfeff";
constexpr const char* plain_text =
    "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
    "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710";

/// NIST SP 800-38A, appendix F; IEEE 1619-2007, vector 2.
const vector_case vectors[] = {
    {"Ecb128", mode_ecb, key_128, "", plain_text,
     "3ad77bb40d7a3660a89ecaf32466ef97f5d3d58503b9699de785895a96fdbaaf"
     "43b1cd7f598ece23881b00e3ed0306887b0c785e27e8ad3f8223207104725dd4"},
    {"Ecb192", mode_ecb, key_192, "", plain_text,
     "bd334f1d6e45f25ff712a214571fa5cc974104846d0ad3ad7734ecb3ecee4eef"
     "ef7afd2270e2e60adce0ba2face6444e9a4b41ba738d6c72fb16691603c18e0e"},
    {"Cbc256", mode_cbc, key_256, counted_iv, plain_text,
     "f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"
     "39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b"},
    {"Cfb128", mode_cfb, key_128, counted_iv, plain_text,
     "3b3fd92eb72dad20333449f8e83cfb4ac8a64537a0b3a93fcde3cdad9f1ce58b"
     "26751f67a3cbb140b1808cf187a4f4dfc04b05357c5d1c0eeac4c66f9ff7f2e6"},
    {"Cfb192", mode_cfb, key_192, counted_iv, plain_text,
     "cdc80d6fddf18cab34c25909c99a417467ce7f7f81173621961a2b70171d3d7a"
     "2e1e8a1dd59b88b1c8e60fed1efac4c9c05f9f9ca9834fa042ae8fba584b09ff"},
    {"Cfb256", mode_cfb, key_256, counted_iv, plain_text,
     "dc7e84bfda79164b7ecd8486985d386039ffed143b28b1c832113c6331e5407b"
     "df10132415e54b92a13ed0a8267ae2f975a385741ab9cef82031623d55b1e471"},
    {"Ctr128", mode_ctr, key_128, counter, plain_text,
     "874d6191b620e3261bef6864990db6ce9806f66b7970fdff8617187bb9fffdff"
     "5ae4df3edbd5d35e5b4f09020db03eab1e031dda2fbe03d1792170a0f3009cee"},
    {"Xts128", mode_xts, "1111111111111111111111111111111122222222222222222222222222222222",
     "33333333330000000000000000000000",
     "4444444444444444444444444444444444444444444444444444444444444444",
     "c454185e6a16936e39334038acef838bfb186fff7480adc4289382ecd6d394f0"},
};

class CipherVectors : public testing::TestWithParam<vector_case> {};

TEST_P(CipherVectors, BothWaysInOneAndInPieces) {
    const vector_case& row = GetParam();
    const bytes plain = from_hex(row.plain);
    CCipher encrypting(op_encrypt, row.mode, from_hex(row.key));
    ASSERT_TRUE(encrypting.set_iv(from_hex(row.iv)));
    ASSERT_TRUE(encrypting.set_padding(false));
    ASSERT_TRUE(encrypting.append(plain.data(), plain.size()));
    const bytes encrypted = encrypting.finish();
    EXPECT_EQ(encrypted, from_hex(row.cipher));
    EXPECT_TRUE(encrypting.finish().empty()) << "no old output";

    const std::size_t piece = row.mode == mode_xts ? plain.size() : 7;
    CCipher decrypting(op_decrypt, row.mode, from_hex(row.key));
    ASSERT_TRUE(decrypting.set_iv(from_hex(row.iv)));
    decrypting.set_padding(false);
    std::unique_ptr<CCipher> other;
    for (std::size_t at = 0; at < encrypted.size(); at += piece) {
        if (at > 20 && !other) other = decrypting.clone();
        CCipher& used = other ? *other : decrypting;
        ASSERT_TRUE(used.append(encrypted.data() + at, std::min(piece, encrypted.size() - at)));
    }
    EXPECT_EQ((other ? *other : decrypting).finish(), plain) << "also by a copy from the middle on";
}

INSTANTIATE_TEST_SUITE_P(Published, CipherVectors, testing::ValuesIn(vectors), support::row_name);

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
        EXPECT_FALSE(cipher.set_aad(std::string()));
        EXPECT_FALSE(cipher.set_tag(bytes(17)));
        EXPECT_FALSE(cipher.set_tag(bytes()));
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
    constexpr int libcrypto_modes[] = {EVP_CIPH_ECB_MODE, EVP_CIPH_CBC_MODE, EVP_CIPH_CFB_MODE,
                                       EVP_CIPH_CTR_MODE, EVP_CIPH_GCM_MODE, EVP_CIPH_XTS_MODE};
    for (const std::size_t length : {0U, 16U, 20U, 24U, 32U, 64U}) {
        for (std::uint32_t mode = mode_ecb; mode <= mode_xts + 1; ++mode) {
            const bool is_key = length == 16 || length == 24 || length == 32;
            const bool fits =
                mode == mode_xts ? length == 32 || length == 64 : is_key && mode < mode_xts;
            CBaseCipher cipher(op_encrypt, ECipherMode(mode), support::counted_bytes(length));
            EXPECT_EQ(cipher.set_iv(bytes(16)), fits) << mode << " with " << length;
            const EVP_CIPHER* found = cipher_for(ECipherMode(mode), length);
            ASSERT_EQ(found != nullptr, fits);
            if (!fits) continue;
            EXPECT_EQ(EVP_CIPHER_get_key_length(found), static_cast<int>(length));
            EXPECT_EQ(EVP_CIPHER_get_mode(found), libcrypto_modes[mode]);
        }
    }
}

TEST(Cipher, FailuresLeaveNoContextAndNoTrace) {
    const support::log_capture log;
    const bytes key(16);
    bytes room(64);
    CBaseCipher fresh(op_encrypt, mode_cfb, key);
    EXPECT_EQ(fresh.update_into(room.data(), 64, room.data(), 1), -1) << "init comes first";
    EXPECT_EQ(fresh.final_into(room.data(), 64), -1);
    EXPECT_FALSE(fresh.set_iv(bytes(15))) << "too short to be read";
    EXPECT_TRUE(fresh.set_iv(bytes(17)));
    EXPECT_TRUE(fresh.restart_without_iv());
    EXPECT_EQ(fresh.update_into(room.data(), 16, room.data(), 16), 16);
    EXPECT_EQ(fresh.update_into(room.data(), 64, room.data(), 65), -1) << "no room";
    EXPECT_EQ(fresh.final_into(room.data(), 15), -1) << "no room";
    EXPECT_EQ(log.count("[ASSERT] false"), 2);
    EXPECT_EQ(fresh.final_into(room.data(), 16), 0) << "which left the context";
    EXPECT_EQ(fresh.update_into(room.data(), SIZE_MAX, room.data(), std::size_t{INT_MAX}), -1);
    EXPECT_EQ(fresh.update_into(room.data(), 64, room.data(), 1), -1) << "which did not";

    CBaseCipher block(op_decrypt, mode_cbc, key);
    ASSERT_TRUE(block.set_iv(bytes(16)));
    EXPECT_EQ(block.update_into(room.data(), 31, room.data(), 16), -1) << "a block more is needed";
    EXPECT_EQ(block.update_into(room.data(), 64, room.data(), 15), 0);
    EXPECT_EQ(block.final_into(room.data(), 64), -1) << "a part of a block";
    EXPECT_FALSE(block.set_padding(true));
    EXPECT_EQ(ERR_peek_error(), 0UL) << "the queue is the host's";

    CCipher odd(ECipherOperation(3), mode_cfb, key);
    EXPECT_FALSE(odd.set_iv(bytes(16)));
    EXPECT_FALSE(odd.append(1));
    EXPECT_TRUE(odd.finish().empty());
}

TEST(Cipher, CollectedOutputGoesWithCopiesAndInit) {
    CCipher cipher(op_encrypt, mode_cfb, bytes(16));
    ASSERT_TRUE(cipher.set_iv(bytes(16)));
    EXPECT_TRUE(cipher.append(1));
    const auto copy = cipher.clone();
    cipher.init();
    EXPECT_TRUE(cipher.append(2));
    EXPECT_EQ(cipher.finish().size(), 1U);
    EXPECT_TRUE(copy->append(2));
    EXPECT_EQ(copy->finish().size(), 2U);

    CCipher block(op_encrypt, mode_cbc, bytes(16));
    ASSERT_TRUE(block.set_iv(bytes(16)));
    EXPECT_TRUE(block.append(1));
    EXPECT_EQ(block.finish().size(), 16U) << "padded";
    ASSERT_TRUE(block.restart_without_iv());
    const bytes more(17);
    EXPECT_TRUE(block.append(more.data(), more.size()));
    block.set_padding(false);
    EXPECT_TRUE(block.finish().empty()) << "a part of a block is left";
    EXPECT_TRUE(block.finish().empty()) << "and the context gone";
}

} // namespace

#include "core_crypto/hashcommon.h"

#include "support/log_capture.h"
#include "support/test_keys.h"
#include "support/test_streams.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <openssl/provider.h>

namespace {

using namespace core;
using support::bytes;
using support::test_keys;
using support::to_bytes;

/// The digests of "abc", as published.
const std::pair<EHashType, std::string> digests[] = {
    {hash_md4, "a448017aaf21d8525fc10ae87aa6729d"},
    {hash_md5, "900150983cd24fb0d6963f7d28e17f72"},
    {hash_sha1, "a9993e364706816aba3e25717850c26c9cd0d89d"},
    {hash_sha256, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    {hash_sha512, "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
                  "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"},
    {hash_blake2b512, "ba80a53f981c4d0d6a2797b69f12f6e94c212f14685ac4b74b12bb6fdbffa2d1"
                      "7d87c5392aab792dc252d5de4533cc9518d38aa8dbf1925ab92386edd4009923"},
};

TEST(Hash, GivesThePublishedDigests) {
    for (const auto& [type, of_abc] : digests) {
        CHash hash(type);
        EXPECT_FALSE(hash.update_text("lost")) << "init comes first";
        ASSERT_TRUE(hash.init());
        hash.update_text("lost");
        hash.restart();
        for (int time = 0; time != 2; ++time) { // finish() begins a new digest
            EXPECT_TRUE(hash.update_text("a") && hash.update_byte('b'));
            const bytes so_far = hash.peek();
            EXPECT_TRUE(hash.update_bytes(to_bytes("c")));
            EXPECT_NE(hash.peek(), so_far);
            EXPECT_EQ(hash.finish(), support::from_hex(of_abc));
        }
        EXPECT_EQ(hash.digest_size() * 2, of_abc.size());
    }
    EXPECT_EQ(OSSL_PROVIDER_available(nullptr, "legacy"), 0) << "MD4 has a context of its own";
}

TEST(Hash, UnknownKindsRefuseAndNeverBegin) {
    const support::log_capture log;
    CHash hash(static_cast<EHashType>(6));
    EXPECT_EQ(log.summary(), std::vector<std::string>{"Debug debug: [ASSERT] false"});
    EXPECT_EQ(hash.digest_size(), 0u);
    EXPECT_FALSE(hash.init() || hash.update_byte(0));
    EXPECT_TRUE(hash.finish().empty());
    CSignature signatures[] = {{static_cast<ESignatureMode>(3), key_rsa, hash_sha512},
                               {signature_verify, static_cast<EKeyType>(1), hash_sha512},
                               {signature_verify, key_rsa, static_cast<EHashType>(6)}};
    for (CSignature& signature : signatures) {
        EXPECT_FALSE(signature.init_from_key_file(test_keys::signing().wide_public_path()));
        EXPECT_FALSE(signature.update_byte(std::uint8_t{1}));
    }
}

class Signature : public testing::Test {
protected:
    /// Loads the key and feeds "signed text" through every kind of update.
    bool begin(const test_keys& with = test_keys::signing()) {
        return verify.init_from_key_file(with.wide_public_path()) &&
               verify.update_text("signed ") && verify.update_bytes(to_bytes("te")) &&
               verify.update_byte(std::int8_t{'x'}) && verify.update_raw("t", 1);
    }

    CSignature verify{signature_verify, key_rsa, hash_sha512};
    CSignature sign{signature_sign, key_rsa, hash_sha512};
    const std::wstring private_key = test_keys::signing().wide_private_path();
    const bytes good = test_keys::signing().sign(to_bytes("signed text"));
};

TEST_F(Signature, LoadsTheKeyFileThatItsModeWants) {
    const std::tuple<const char*, bool, bool> rows[] = {
        // what writes the file "$K"
        {"openssl genrsa -out $K 1024", true, false},
        {"openssl genrsa 1024 | openssl rsa -pubout -out $K", false, true},
        {"openssl genrsa 1024 | openssl rsa -RSAPublicKey_out -out $K", false, false},
        {"openssl genrsa -aes128 -passout pass:secret -out $K 1024", false, false},
        {"openssl ecparam -name prime256v1 -genkey -noout -out $K", false, false},
        {"mkdir $K", false, false}};
    for (const auto& [command, signs, verifies] : rows) {
        SCOPED_TRACE(command);
        const support::temp_folder folder;
        support::output_of("K=" + folder.file("key") + "; (" + command + ") 2>&1");
        EXPECT_EQ(sign.init_from_key_file(folder.wide_file("key")), signs);
        EXPECT_EQ(verify.init_from_key_file(folder.wide_file("key")), verifies);
        EXPECT_EQ(sign.update_text("text"), signs);
        EXPECT_EQ(verify.update_text("text"), verifies);
    }
}

TEST_F(Signature, BelongsToOneKeyAndTheVeryData) {
    ASSERT_TRUE(begin());
    EXPECT_TRUE(verify.verify_bytes(good));
    EXPECT_TRUE(verify.verify_text({good.begin(), good.end()}));
    ASSERT_TRUE(begin(test_keys::stranger()));
    EXPECT_FALSE(verify.verify_bytes(good));
    ASSERT_TRUE(begin());
    verify.update_text("!");
    EXPECT_FALSE(verify.verify_bytes(good));
    ASSERT_TRUE(begin());
    EXPECT_FALSE(verify.verify_raw(good.data(), good.size() - 1));
    EXPECT_FALSE(verify.verify_bytes(good) || verify.update_text("")) << "a failure sticks";
}

TEST_F(Signature, RefusesOutOfOrder) {
    EXPECT_FALSE(verify.update_text("before a key"));
    ASSERT_TRUE(begin()) << "a new key mends it";
    EXPECT_TRUE(verify.finish().empty()) << "no signing in this mode";
    EXPECT_FALSE(verify.verify_bytes(good));

    ASSERT_TRUE(sign.init_from_key_file(private_key));
    EXPECT_FALSE(sign.verify_bytes(good) || sign.update_text("x"));
    ASSERT_TRUE(sign.init_from_key_file(private_key) && sign.update_text("signed text"));
    EXPECT_TRUE(sign.finish().empty()) << "a signature never fits in the room of a digest";

    ASSERT_TRUE(begin());
    EXPECT_FALSE(verify.init_from_key_file(private_key));
    EXPECT_FALSE(verify.verify_bytes(good)) << "the former key is gone";
    ASSERT_TRUE(begin());
    EXPECT_THROW(verify.init_from_key_file(L"\xD800"), std::range_error);
    EXPECT_FALSE(verify.update_text("x"));
}

TEST_F(Signature, LeavesNoTraceInTheHost) {
    const auto open_files = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    ERR_raise(ERR_LIB_USER, 7);
    const unsigned long of_host = ERR_peek_last_error();
    const auto before = open_files();
    begin(test_keys::stranger());
    verify.verify_bytes(good);
    verify.init_from_key_file(private_key);
    EXPECT_EQ(open_files(), before);
    EXPECT_EQ(ERR_get_error(), of_host);
    EXPECT_EQ(ERR_get_error(), 0u);
}

} // namespace

#include "core_crypto/rsakeys.h"

#include "core/debug.h"
#include "core_crypto/hashcommon.h"
#include "core_crypto/rsasigner.h"
#include "support/test_keys.h"
#include "support/test_streams.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

using namespace core;
using support::output_of;
using support::test_keys;
using support::to_bytes;

template <class Work>
std::string failure_of(Work&& work) {
    try {
        work();
    } catch (const core::exception& failure) {
        return failure.what();
    }
    return "none";
}

TEST(RsaKeys, PairOnDiskIsWhatTheOpensslCommandReads) {
    const support::temp_folder folder;
    const key_handle key = generate_rsa_key(2048);
    save_key_pair(key.get(), folder.wide_file("key"), folder.wide_file("pub"));

    const std::string in_folder = "cd " + folder.path() + " && ";
    EXPECT_EQ(output_of(in_folder + "openssl rsa -in key -check -noout 2>&1"), "RSA key ok\n");
    EXPECT_EQ(output_of(in_folder + "openssl rsa -in key -pubout 2>/dev/null"),
              support::read_file(folder.file("pub")));
    EXPECT_EQ(output_of(in_folder + "openssl pkey -pubin -in pub -outform DER | "
                                    "openssl dgst -sha256 -c | cut -d' ' -f2"),
              public_key_fingerprint(key.get()) + "\n");
    EXPECT_EQ(public_key_fingerprint(load_public_key(folder.wide_file("pub")).get()),
              public_key_fingerprint(load_private_key(folder.wide_file("key")).get()));
    EXPECT_EQ(std::filesystem::status(folder.file("key")).permissions(),
              std::filesystem::perms(0600));
}

TEST(RsaKeys, PairIsWrittenWholeAndNeverOverAFile) {
    const support::temp_folder folder;
    const key_handle key = load_private_key(test_keys::signing().wide_private_path());
    folder.write("there", std::string_view("precious"));
    const auto failure_with = [&](const char* private_name, const char* public_name) {
        return failure_of([&] {
            save_key_pair(key.get(), folder.wide_file(private_name), folder.wide_file(public_name));
        });
    };
    EXPECT_EQ(failure_with("there", "new"), folder.file("there: File exists"));
    EXPECT_EQ(failure_with("new", "there"), folder.file("there: File exists"));
    EXPECT_EQ(failure_with("new", "new"), folder.file("new: File exists"));
    EXPECT_EQ(failure_with("new", "no/folder"),
              folder.file("no/folder: No such file or directory"));
    EXPECT_FALSE(std::filesystem::exists(folder.file("new")));
    EXPECT_EQ(support::read_file(folder.file("there")), "precious");
}

TEST(RsaKeys, FailuresTellPeopleWhy) {
    const support::temp_folder folder;
    output_of("cd " + folder.path() +
              " && openssl genrsa -aes128 -passout pass:x -out locked 1024 2>&1 && "
              "openssl ecparam -name prime256v1 -genkey -noout -out ec && echo junk >junk");
    const auto private_failure = [&](const char* name) {
        return failure_of([&] { load_private_key(folder.wide_file(name)); })
            .substr(folder.path().size() + 1);
    };
    EXPECT_EQ(private_failure("locked"), "locked: The private key is protected by a passphrase.");
    EXPECT_EQ(private_failure("ec"), "ec: This is not an RSA private key in PEM form.");
    EXPECT_EQ(private_failure("junk"), "junk: This is not an RSA private key in PEM form.");
    EXPECT_EQ(private_failure("none"), "none: No such file or directory");
    EXPECT_THROW(load_public_key(test_keys::signing().wide_private_path()), core::exception);
    EXPECT_THROW(generate_rsa_key(1024), core::exception);
    EXPECT_THROW(public_key_fingerprint(nullptr), core::exception);
    EXPECT_EQ(ERR_peek_error(), 0u);
}

TEST(RsaSigner, GivesTheBytesOfTheOpensslCommand) {
    const support::temp_folder folder;
    folder.write("data", std::string_view("signed text"));
    output_of("openssl dgst -sha512 -sign " + test_keys::signing().private_path() + " -out " +
              folder.file("sig") + " " + folder.file("data"));

    rsa_signer signer(load_private_key(test_keys::signing().wide_private_path()).get());
    signer.update(to_bytes("signed "));
    signer.update({});
    signer.update(to_bytes("text"));
    EXPECT_EQ(signer.finish(), to_bytes(support::read_file(folder.file("sig"))));
    EXPECT_THROW(rsa_signer(nullptr), core::exception);
}

} // namespace

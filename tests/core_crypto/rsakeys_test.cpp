#include "core_crypto/rsakeys.h"

#include "core/debug.h"
#include "core_crypto/rsasigner.h"
#include "support/test_keys.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

using namespace core;
using support::test_keys;

TEST(RsaKeys, PairIsWrittenWholeAndNeverOverAFile) {
    const support::temp_folder folder;
    const key_handle key = load_private_key(test_keys::signing().wide_private_path());
    folder.write("there", std::string_view("precious"));

    for (const auto& [private_name, public_name, message] :
         {std::tuple("there", "new", "there: File exists"),
          {"new", "new", "new: File exists"},
          {"new", "no/folder", "no/folder: No such file or directory"}}) {
        try {
            save_key_pair(key.get(), folder.wide_file(private_name), folder.wide_file(public_name));
            FAIL() << "no exception";
        } catch (const core::exception& failure) {
            EXPECT_EQ(failure.what(), folder.file(message));
        }
        EXPECT_FALSE(std::filesystem::exists(folder.file("new")));
        EXPECT_EQ(support::read_file(folder.file("there")), "precious");
    }
}

TEST(RsaKeys, RefusalLeavesNoTraceInLibcrypto) {
    const support::temp_folder folder;
    folder.write("junk", std::string_view("junk"));
    EXPECT_THROW(load_private_key(folder.wide_file("junk")), core::exception);
    EXPECT_THROW(load_public_key(test_keys::signing().wide_private_path()), core::exception);
    EXPECT_THROW(generate_rsa_key(1024), core::exception);
    EXPECT_THROW(public_key_fingerprint(nullptr), core::exception);
    EXPECT_THROW(rsa_signer(nullptr), core::exception);
    EXPECT_EQ(ERR_peek_error(), 0u);
}

} // namespace

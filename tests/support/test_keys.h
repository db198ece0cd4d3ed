#pragma once

#include "support/temp_folder.h"

#include <cstdint>
#include <memory>
#include <openssl/evp.h>
#include <span>
#include <string>
#include <vector>

namespace support {

/// An RSA key pair, as two PEM files in a folder of its own, made by libcrypto alone. It is short,
/// since each test is a process and makes its own.
class test_keys {
public:
    /// The pair that fixtures are signed with, made once a run.
    static const test_keys& signing();

    /// A pair that nothing is signed with unless a test says so, made once a run.
    static const test_keys& stranger();

    test_keys();

    std::string private_path() const { return m_folder.file("private.pem"); }

    std::string public_path() const { return m_folder.file("public.pem"); }

    std::wstring wide_private_path() const { return m_folder.wide_file("private.pem"); }

    std::wstring wide_public_path() const { return m_folder.wide_file("public.pem"); }

    /// RSA, PKCS#1 v1.5, SHA-512.
    std::vector<std::uint8_t> sign(std::span<const std::uint8_t> data) const;

private:
    struct free_key {
        void operator()(EVP_PKEY* key) const noexcept { EVP_PKEY_free(key); }
    };

    temp_folder m_folder;
    std::unique_ptr<EVP_PKEY, free_key> m_key;
};

/// Runs a shell command and returns its standard output. Throws if it fails.
std::string output_of(const std::string& command);

} // namespace support

#include "support/test_keys.h"

#include <array>
#include <cstdio>
#include <openssl/pem.h>
#include <stdexcept>

namespace support {

namespace {

void require(bool condition) {
    if (!condition) throw std::runtime_error("libcrypto refused a test key");
}

template <class Write>
void write_pem(const std::string& path, Write&& write) {
    const std::unique_ptr<FILE, decltype(&fclose)> file(fopen(path.c_str(), "wb"), fclose);
    require(file && write(file.get()) == 1);
}

} // namespace

const test_keys& test_keys::signing() {
    static const test_keys keys;
    return keys;
}

const test_keys& test_keys::stranger() {
    static const test_keys keys;
    return keys;
}

test_keys::test_keys() : m_key(EVP_RSA_gen(1280U)) {
    require(m_key != nullptr);
    write_pem(private_path(), [&](FILE* file) {
        return PEM_write_PrivateKey(file, m_key.get(), nullptr, nullptr, 0, nullptr, nullptr);
    });
    write_pem(public_path(), [&](FILE* file) { return PEM_write_PUBKEY(file, m_key.get()); });
}

std::vector<std::uint8_t> test_keys::sign(std::span<const std::uint8_t> data) const {
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                          EVP_MD_CTX_free);
    require(EVP_DigestSignInit(context.get(), nullptr, EVP_sha512(), nullptr, m_key.get()) == 1);
    std::vector<std::uint8_t> signature(static_cast<std::size_t>(EVP_PKEY_get_size(m_key.get())));
    std::size_t length = signature.size();
    require(EVP_DigestSign(context.get(), signature.data(), &length, data.data(), data.size()) ==
            1);
    return signature;
}

std::string output_of(const std::string& command) {
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
    std::string output;
    std::array<char, 4096> block;
    while (const std::size_t got = fread(block.data(), 1, block.size(), pipe))
        output.append(block.data(), got);
    if (pclose(pipe) != 0) throw std::runtime_error("failed: " + command);
    return output;
}

} // namespace support

#include "core_crypto/gmac.h"

#include "core/logandrethrow.h"

#include <cstring>
#include <openssl/crypto.h>
#include <openssl/rand.h>

namespace core {

namespace {

constexpr std::size_t key_size = 16;
constexpr std::size_t nonce_size = 12;

void require(bool done) {
    if (!done) throw_logged("Failed to authenticate.");
}

} // namespace

gmac::gmac() : m_context(EVP_CIPHER_CTX_new()) {
    const error_queue_guard guard;
    std::array<std::uint8_t, key_size> key{};
    const bool ready =
        m_context && RAND_bytes(key.data(), key_size) == 1 &&
        EVP_EncryptInit_ex(m_context.get(), EVP_aes_128_gcm(), nullptr, key.data(), nullptr) == 1;
    OPENSSL_cleanse(key.data(), key.size());
    require(ready);
}

void gmac::start(std::uint64_t number) {
    const error_queue_guard guard;
    std::array<std::uint8_t, nonce_size> nonce{};
    std::memcpy(nonce.data(), &number, sizeof number);
    require(EVP_EncryptInit_ex(m_context.get(), nullptr, nullptr, nullptr, nonce.data()) == 1);
}

void gmac::update(std::span<const std::uint8_t> bytes) {
    const error_queue_guard guard;
    int length = 0;
    require(EVP_EncryptUpdate(m_context.get(), nullptr, &length, bytes.data(),
                              static_cast<int>(bytes.size())) == 1);
}

gmac::tag gmac::finish() {
    const error_queue_guard guard;
    tag made;
    int length = 0;
    std::uint8_t no_text = 0;
    require(EVP_EncryptFinal_ex(m_context.get(), &no_text, &length) == 1 &&
            EVP_CIPHER_CTX_ctrl(m_context.get(), EVP_CTRL_AEAD_GET_TAG, tag_size, made.data()) ==
                1);
    return made;
}

} // namespace core

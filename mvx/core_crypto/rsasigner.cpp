#include "core_crypto/rsasigner.h"

#include "core/debug.h"

namespace core {

namespace {

void require(bool condition) {
    if (!condition) throw exception("The signature could not be made.");
}

} // namespace

rsa_signer::rsa_signer(EVP_PKEY* private_key) : m_context(EVP_MD_CTX_new()) {
    const error_queue_guard guard;
    require(m_context &&
            EVP_DigestSignInit(m_context.get(), nullptr, EVP_sha512(), nullptr, private_key) == 1);
}

void rsa_signer::update(std::span<const std::uint8_t> bytes) {
    const error_queue_guard guard;
    require(EVP_DigestSignUpdate(m_context.get(), bytes.data(), bytes.size()) == 1);
}

std::vector<std::uint8_t> rsa_signer::finish() {
    const error_queue_guard guard;
    std::size_t length = 0;
    require(EVP_DigestSignFinal(m_context.get(), nullptr, &length) == 1);
    std::vector<std::uint8_t> signature(length);
    require(EVP_DigestSignFinal(m_context.get(), signature.data(), &length) == 1);
    signature.resize(length);
    return signature;
}

} // namespace core

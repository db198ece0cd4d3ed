#include "core_crypto/keyderivation.h"

#include "core_crypto/cryptohandles.h"

#include <array>
#include <openssl/core_names.h>
#include <openssl/kdf.h>
#include <openssl/params.h>

namespace core {

namespace {

OSSL_PARAM parameter(const char* name, std::string_view bytes) {
    // libcrypto takes what it only reads by a pointer that could write.
    return OSSL_PARAM_construct_octet_string(name, const_cast<char*>(bytes.data()), bytes.size());
}

} // namespace

std::vector<std::uint8_t> hkdf_sha256(std::string_view secret, std::string_view salt,
                                      std::string_view info, std::size_t length) {
    const error_queue_guard guard;
    const handle<EVP_KDF, EVP_KDF_free> kdf(EVP_KDF_fetch(nullptr, "HKDF", nullptr));
    if (!kdf) return {};
    const handle<EVP_KDF_CTX, EVP_KDF_CTX_free> context(EVP_KDF_CTX_new(kdf.get()));
    if (!context) return {};
    std::array<char, 7> digest = {"SHA256"};
    const std::array parameters = {
        OSSL_PARAM_construct_utf8_string(OSSL_KDF_PARAM_DIGEST, digest.data(), 0),
        parameter(OSSL_KDF_PARAM_KEY, secret), parameter(OSSL_KDF_PARAM_SALT, salt),
        parameter(OSSL_KDF_PARAM_INFO, info), OSSL_PARAM_construct_end()};
    std::vector<std::uint8_t> derived(length);
    if (EVP_KDF_derive(context.get(), derived.data(), length, parameters.data()) != 1) return {};
    return derived;
}

} // namespace core

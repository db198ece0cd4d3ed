// The calls that read a key as RSA and nothing else are deprecated; they are used in this file
// only.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "core_crypto/hashcommon.h"

#include "core/debug.h"
#include "core/text.h"

#include <openssl/pem.h>
#include <openssl/provider.h>
#include <openssl/rsa.h>
#include <optional>
#include <stdexcept>

namespace core {

namespace {

using rsa_handle = handle<RSA, RSA_free>;
using library_context = handle<OSSL_LIB_CTX, OSSL_LIB_CTX_free>;

/// MD4 is in the legacy provider alone. It is loaded into a context of our own, which lives until
/// the process ends: loading it into the default one would change the host's libcrypto.
const EVP_MD* fetch_md4() {
    const error_queue_guard guard;
    library_context context(OSSL_LIB_CTX_new());
    const EVP_MD* digest = context && OSSL_PROVIDER_load(context.get(), "legacy") != nullptr
                               ? EVP_MD_fetch(context.get(), "MD4", nullptr)
                               : nullptr;
    if (digest == nullptr) return EVP_md4(); // known by name, but every init with it fails
    static_cast<void>(context.release());
    return digest;
}

const EVP_MD* md4() {
    static const EVP_MD* const digest = fetch_md4();
    return digest;
}

std::uint32_t size_of(const EVP_MD* digest) noexcept {
    const int size = digest == nullptr ? 0 : EVP_MD_get_size(digest);
    return size < 0 ? 0 : static_cast<std::uint32_t>(size);
}

} // namespace

const EVP_MD* digest_for(EHashType type) {
    switch (type) {
    case hash_md4:
        return md4();
    case hash_md5:
        return EVP_md5();
    case hash_sha1:
        return EVP_sha1();
    case hash_sha256:
        return EVP_sha256();
    case hash_sha512:
        return EVP_sha512();
    case hash_blake2b512:
        return EVP_blake2b512();
    }
    assertion("false");
    return nullptr;
}

CHash::CHash(EHashType type) : m_digest(digest_for(type)) {}

std::uint32_t CHash::digest_size() const noexcept { return size_of(m_digest); }

bool CHash::init() {
    const error_queue_guard guard;
    m_failed = false;
    if (!m_context) m_context.reset(EVP_MD_CTX_new());
    if (m_digest == nullptr || !m_context) return false;
    EVP_MD_CTX_reset(m_context.get());
    m_failed = EVP_DigestInit(m_context.get(), m_digest) != 1;
    return !m_failed;
}

void CHash::restart() { init(); }

bool CHash::update_text(const std::string& text) { return update_raw(text.data(), text.size()); }

bool CHash::update_bytes(const std::vector<std::uint8_t>& bytes) {
    return update_raw(bytes.data(), bytes.size());
}

bool CHash::update_byte(std::uint8_t byte) { return update_raw(&byte, 1); }

bool CHash::update_raw(const void* bytes, std::size_t count) {
    if (!ready()) return false;
    const error_queue_guard guard;
    m_failed = EVP_DigestUpdate(m_context.get(), bytes, count) != 1;
    return !m_failed;
}

std::vector<std::uint8_t> CHash::finish() {
    if (!ready()) return {};
    const error_queue_guard guard;
    std::vector<std::uint8_t> digest(digest_size());
    if (EVP_DigestFinal(m_context.get(), digest.data(), nullptr) != 1) {
        m_failed = true;
        return {};
    }
    init();
    return digest;
}

std::vector<std::uint8_t> CHash::peek() const {
    if (!ready()) return {};
    const error_queue_guard guard;
    std::vector<std::uint8_t> digest(digest_size());
    const digest_context copy(EVP_MD_CTX_new());
    if (!copy || EVP_MD_CTX_copy(copy.get(), m_context.get()) != 1) return {};
    if (EVP_DigestFinal(copy.get(), digest.data(), nullptr) != 1) return {};
    return digest;
}

CSignature::CSignature(ESignatureMode mode, EKeyType key_type, EHashType hash_type)
    : m_mode(mode), m_key_type(key_type), m_hash_type(hash_type) {}

void CSignature::prepare() {
    if (m_context) {
        EVP_MD_CTX_reset(m_context.get());
    } else {
        m_context.reset(EVP_MD_CTX_new());
    }
    // A key of an earlier file must not stand in for one that does not load.
    m_key.reset(EVP_PKEY_new());
    m_failed = false;
}

bool CSignature::init_from_key_file(const std::wstring& path) {
    const error_queue_guard guard;
    prepare();
    m_failed = true;

    const std::optional<std::string> encoded = encode_path(path);
    if (!encoded) throw std::range_error("bad conversion");
    const bio_handle file(BIO_new_file(encoded->c_str(), "rbe"));
    if (!file) return false;

    // A key that does not load leaves an empty one, on which nothing can begin.
    load_key(file.get());
    m_failed = !begin();
    return !m_failed;
}

bool CSignature::load_key(BIO* file) {
    if (m_key_type != key_rsa) return false;

    rsa_handle key;
    if (m_mode == signature_sign) {
        key.reset(PEM_read_bio_RSAPrivateKey(file, nullptr, refuse_password, nullptr));
        if (!key || RSA_check_key_ex(key.get(), nullptr) != 1) return false;
    } else if (m_mode == signature_verify) {
        key.reset(PEM_read_bio_RSA_PUBKEY(file, nullptr, refuse_password, nullptr));
    }
    if (!key || EVP_PKEY_assign(m_key.get(), EVP_PKEY_RSA, key.get()) != 1) return false;
    static_cast<void>(key.release());
    return true;
}

bool CSignature::begin() {
    const EVP_MD* digest = digest_for(m_hash_type);
    // Without a digest libcrypto would choose one for itself.
    if (digest == nullptr || !m_context || !m_key) return false;
    switch (m_mode) {
    case signature_sign:
        return EVP_DigestSignInit(m_context.get(), nullptr, digest, nullptr, m_key.get()) == 1;
    case signature_verify:
        return EVP_DigestVerifyInit(m_context.get(), nullptr, digest, nullptr, m_key.get()) == 1;
    }
    return false;
}

bool CSignature::update_text(const std::string& text) {
    return update_raw(text.data(), text.size());
}

bool CSignature::update_bytes(const std::vector<std::uint8_t>& bytes) {
    return update_raw(bytes.data(), bytes.size());
}

bool CSignature::update_byte(std::int8_t byte) { return update_raw(&byte, 1); }

bool CSignature::update_byte(std::uint8_t byte) { return update_raw(&byte, 1); }

bool CSignature::update_raw(const void* bytes, std::size_t count) {
    if (m_failed) return false;
    const error_queue_guard guard;
    const bool known_mode = m_mode == signature_sign || m_mode == signature_verify;
    // Signing and verifying share this call: each has begun with an init of its own.
    m_failed = !known_mode || !m_context || EVP_DigestUpdate(m_context.get(), bytes, count) != 1;
    return !m_failed;
}

std::vector<std::uint8_t> CSignature::finish() {
    const error_queue_guard guard;
    // The room is the digest's size, not the key's, so no signature of a usable key fits.
    std::vector<std::uint8_t> signature(size_of(digest_for(m_hash_type)));
    std::size_t length = signature.size();
    m_failed = m_failed || m_mode != signature_sign || !m_context ||
               EVP_DigestSignFinal(m_context.get(), signature.data(), &length) != 1;
    if (m_failed) return {};
    signature.resize(length);
    prepare();
    return signature;
}

bool CSignature::verify_text(const std::string& signature) {
    return verify_raw(signature.data(), signature.size());
}

bool CSignature::verify_bytes(const std::vector<std::uint8_t>& signature) {
    return verify_raw(signature.data(), signature.size());
}

bool CSignature::verify_raw(const void* signature, std::size_t count) {
    if (m_failed) return false;
    const error_queue_guard guard;
    m_failed = m_mode != signature_verify || !m_context ||
               EVP_DigestVerifyFinal(m_context.get(), static_cast<const unsigned char*>(signature),
                                     count) != 1;
    return !m_failed;
}

} // namespace core

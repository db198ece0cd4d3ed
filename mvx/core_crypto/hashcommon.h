#pragma once

#include "core_crypto/cryptohandles.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace core {

enum EHashType : std::uint32_t {
    hash_md4 = 0,
    hash_md5 = 1,
    hash_sha1 = 2,
    hash_sha256 = 3,
    hash_sha512 = 4,
    hash_blake2b512 = 5,
};

/// libcrypto's digest, which lives until the process ends. Any other value is reported by an
/// assertion and gives null.
const EVP_MD* digest_for(EHashType type);

/// Computes a digest. Nothing throws: a failed call of libcrypto makes every operation refuse until
/// the next init(). One thread at a time.
class CHash {
public:
    /// Makes no context yet: init() comes first.
    explicit CHash(EHashType type);

    /// Length of the digest in bytes, 0 for an unknown type.
    std::uint32_t digest_size() const noexcept;

    /// Begins a new digest.
    bool init();
    void restart();

    // Each adds to the digest. False before init(), and after a failure.
    bool update_text(const std::string& text);
    bool update_bytes(const std::vector<std::uint8_t>& bytes);
    bool update_byte(std::uint8_t byte);
    bool update_raw(const void* bytes, std::size_t count);

    /// The digest, empty on failure. A new one begins at once.
    std::vector<std::uint8_t> finish();

    /// The digest of what came so far, empty on failure. The running one goes on unchanged.
    std::vector<std::uint8_t> peek() const;

private:
    bool ready() const noexcept { return m_digest != nullptr && m_context && !m_failed; }

    const EVP_MD* m_digest;
    digest_context m_context;
    bool m_failed = false;
};

enum ESignatureMode : std::uint32_t {
    signature_sign = 1,
    signature_verify = 2,
};

enum EKeyType : std::uint32_t {
    key_rsa = 0,
};

/// Signs or verifies (RSA, PKCS#1 v1.5) with a key from a PEM file. Reports by results alone and
/// leaves no line in the log: a failure sticks until the next init_from_key_file(), so the last
/// result tells about all of them. One thread at a time.
class CSignature {
public:
    CSignature(ESignatureMode mode, EKeyType key_type, EHashType hash_type);

    /// Loads the key, always into an empty one, and begins. The one thing that throws here:
    /// std::range_error "bad conversion" for a path that has no form on this platform.
    bool init_from_key_file(const std::wstring& path);

    // Each adds to the signed data. A byte is a byte, whatever its sign.
    bool update_text(const std::string& text);
    bool update_bytes(const std::vector<std::uint8_t>& bytes);
    bool update_byte(std::int8_t byte);
    bool update_byte(std::uint8_t byte);
    bool update_raw(const void* bytes, std::size_t count);

    /// The signature, in the room of one digest: a longer one does not fit and gives an empty
    /// result. Packages are signed by rsa_signer.
    std::vector<std::uint8_t> finish();

    // Whether the signature belongs to the data given so far.
    bool verify_text(const std::string& signature);
    bool verify_bytes(const std::vector<std::uint8_t>& signature);
    bool verify_raw(const void* signature, std::size_t count);

private:
    void prepare();
    bool load_key(BIO* file);
    bool begin();

    ESignatureMode m_mode;
    EKeyType m_key_type;
    EHashType m_hash_type;
    key_handle m_key;
    digest_context m_context;
    bool m_failed = false;
};

} // namespace core

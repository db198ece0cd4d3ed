#pragma once

#include "core_crypto/cryptohandles.h"

#include <cstdint>
#include <span>
#include <vector>

namespace core {

/// Makes the signatures that CSignature verifies with hash_sha512: RSA, PKCS#1 v1.5, SHA-512. The
/// data come piece by piece. The same key and data always give the same bytes.
///
/// Failures are core::exception with a text for people, not logged. One thread at a time.
class rsa_signer {
public:
    /// The key is needed by the constructor alone.
    explicit rsa_signer(EVP_PKEY* private_key);

    void update(std::span<const std::uint8_t> bytes);

    /// The signature, as long as the key. Ends the work of this object.
    std::vector<std::uint8_t> finish();

private:
    digest_context m_context;
};

} // namespace core

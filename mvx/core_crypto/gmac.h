#pragma once

#include "core_crypto/cryptohandles.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace core {

/// Authenticates numbered messages within one process: GMAC (NIST SP 800-38D) with AES-128, under a
/// random key of its own that never leaves the object, the number as nonce. Tags are to be kept
/// from whom they guard against. One thread at a time.
class gmac {
public:
    static constexpr std::size_t tag_size = 16; // bytes

    using tag = std::array<std::uint8_t, tag_size>;

    // Each throws core::exception "Failed to authenticate." if libcrypto refuses.
    gmac();

    /// Begins a message, whatever came before.
    void start(std::uint64_t number);

    /// Goes on with it.
    void update(std::span<const std::uint8_t> bytes);

    /// Ends it.
    tag finish();

private:
    cipher_context m_context;
};

} // namespace core

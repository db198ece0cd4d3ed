#pragma once

#include "core_crypto/cryptohandles.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace core {

/// AES decryption in CFB mode, several times as fast as libcrypto's own. In this mode clear text is
/// the cipher text XOR the encryption of the block of cipher text before it: all those blocks are
/// at hand, so they are encrypted at once, in ECB mode, where libcrypto's own loop waits for each.
class cfb_decryption {
public:
    static constexpr std::size_t block_size = 16;

    cfb_decryption() = default;
    /// Goes on where the other one is. Throws core::exception "Failed to copy context".
    cfb_decryption(const cfb_decryption& source);
    cfb_decryption& operator=(const cfb_decryption&) = delete;
    ~cfb_decryption() = default;

    /// Begins anew; null is an IV of zeros. The key is looked at the first time alone. False if
    /// libcrypto fails.
    bool begin(const std::vector<std::uint8_t>& key, const std::uint8_t* iv) noexcept;

    /// `out` may be `in`, and may not overlap it otherwise. False if libcrypto fails.
    bool decrypt(std::uint8_t* out, const std::uint8_t* in, std::size_t count) noexcept;

private:
    using cipher_block = std::array<std::uint8_t, block_size>;

    bool encrypt(std::uint8_t* target, const std::uint8_t* blocks, std::size_t count) noexcept;
    bool decrypt_blocks(std::uint8_t* out, const std::uint8_t* in, std::size_t count) noexcept;
    bool decrypt_in_block(std::uint8_t*& out, const std::uint8_t*& in, std::size_t& count) noexcept;

    cipher_context m_context;   // ECB, encrypting
    cipher_block m_before{};    // cipher text of the last whole block, at first the IV
    cipher_block m_current{};   // cipher text of the block that has begun
    cipher_block m_keystream{}; // for that block
    std::size_t m_taken = 0;    // bytes of that block
};

} // namespace core

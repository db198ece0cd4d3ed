#include "core_crypto/cfbdecryption.h"

#include "core_crypto/cipher.h"

#include "core/debug.h"

#include <algorithm>
#include <cstring>

namespace core {

namespace {

/// Encrypted at once: enough to keep the processor busy, and all of it in the nearest cache.
constexpr std::size_t chunk_size = 4096;

void combine(std::uint8_t* out, const std::uint8_t* left, const std::uint8_t* right,
             std::size_t count) noexcept {
    for (std::size_t i = 0; i != count; ++i)
        out[i] = static_cast<std::uint8_t>(left[i] ^ right[i]);
}

} // namespace

cfb_decryption::cfb_decryption(const cfb_decryption& source)
    : m_before(source.m_before), m_current(source.m_current), m_keystream(source.m_keystream),
      m_taken(source.m_taken) {
    if (!source.m_context) return;
    m_context.reset(EVP_CIPHER_CTX_new());
    if (!m_context || EVP_CIPHER_CTX_copy(m_context.get(), source.m_context.get()) != 1) {
        throw exception("Failed to copy context");
    }
}

bool cfb_decryption::begin(const std::vector<std::uint8_t>& key, const std::uint8_t* iv) noexcept {
    if (iv != nullptr) {
        std::copy_n(iv, block_size, m_before.begin());
    } else {
        m_before.fill(0);
    }
    m_taken = 0;
    if (m_context) return true;

    m_context.reset(EVP_CIPHER_CTX_new());
    const bool ready = m_context &&
                       EVP_EncryptInit_ex(m_context.get(), cipher_for(mode_ecb, key.size()),
                                          nullptr, key.data(), nullptr) == 1 &&
                       EVP_CIPHER_CTX_set_padding(m_context.get(), 0) == 1;
    if (!ready) m_context.reset();
    return ready;
}

bool cfb_decryption::decrypt(std::uint8_t* out, const std::uint8_t* in,
                             std::size_t count) noexcept {
    if (!m_context) return false;
    if (m_taken != 0 && !decrypt_in_block(out, in, count)) return false;
    const std::size_t whole = count - count % block_size;
    if (!decrypt_blocks(out, in, whole)) return false;
    out += whole;
    in += whole;
    count -= whole;
    return count == 0 || decrypt_in_block(out, in, count);
}

bool cfb_decryption::encrypt(std::uint8_t* target, const std::uint8_t* blocks,
                             std::size_t count) noexcept {
    int produced = 0;
    return EVP_EncryptUpdate(m_context.get(), target, &produced, blocks, static_cast<int>(count)) ==
               1 &&
           produced == static_cast<int>(count);
}

/// Whole blocks, at the beginning of one.
bool cfb_decryption::decrypt_blocks(std::uint8_t* out, const std::uint8_t* in,
                                    std::size_t count) noexcept {
    std::array<std::uint8_t, chunk_size> stream;
    while (count != 0) {
        const std::size_t size = std::min(count, chunk_size);
        // The block before, and all but the last of these.
        std::copy_n(m_before.begin(), block_size, stream.begin());
        std::copy_n(in, size - block_size, stream.begin() + block_size);
        if (!encrypt(stream.data(), stream.data(), size)) return false;
        std::copy_n(in + size - block_size, block_size, m_before.begin());
        combine(out, in, stream.data(), size);
        out += size;
        in += size;
        count -= size;
    }
    return true;
}

/// The bytes up to the end of a block, or fewer if there are fewer. Moves past them.
bool cfb_decryption::decrypt_in_block(std::uint8_t*& out, const std::uint8_t*& in,
                                      std::size_t& count) noexcept {
    if (m_taken == 0 && !encrypt(m_keystream.data(), m_before.data(), block_size)) return false;
    const std::size_t size = std::min(count, block_size - m_taken);
    std::copy_n(in, size, m_current.begin() + m_taken);
    combine(out, in, m_keystream.data() + m_taken, size);
    m_taken = (m_taken + size) % block_size;
    if (m_taken == 0) m_before = m_current;
    out += size;
    in += size;
    count -= size;
    return true;
}

} // namespace core

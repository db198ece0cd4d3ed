#pragma once

#include "core_crypto/cfbdecryption.h"
#include "core_crypto/cryptohandles.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace core {

enum ECipherOperation : std::uint32_t {
    op_encrypt = 1,
    op_decrypt = 2,
};

/// How AES is applied: NIST SP 800-38A (CFB with segments of 128 bits), 38D and 38E.
enum ECipherMode : std::uint32_t {
    mode_ecb = 0,
    mode_cbc = 1,
    mode_cfb = 2,
    mode_ctr = 3,
    mode_gcm = 4,
    mode_xts = 5,
};

/// libcrypto's AES for a mode and a key of 16, 24 or 32 bytes; mode_xts takes two keys as one, of
/// 32 or 64 bytes. Lives until the process ends; null for every other combination.
const EVP_CIPHER* cipher_for(ECipherMode mode, std::size_t key_length) noexcept;

/// AES in one mode and one direction, on buffers of the caller. Without an IV libcrypto takes zeros
/// or refuses, by the mode. After a failed call of libcrypto nothing works until the next init().
/// Nothing is thrown but by copying. One thread at a time; a copy is independent.
class CBaseCipher {
public:
    /// Copies the key and does no work before init() or one of the IV operations.
    CBaseCipher(ECipherOperation operation, ECipherMode mode, std::vector<std::uint8_t> key);
    CBaseCipher(ECipherOperation operation, ECipherMode mode, const std::uint8_t* key,
                std::size_t key_length);
    CBaseCipher& operator=(const CBaseCipher&) = delete;
    virtual ~CBaseCipher();

    /// Goes on where this object is. Throws core::exception "Failed to copy context".
    std::unique_ptr<CBaseCipher> clone() const;

    /// Begins anew with the key and the IV that are stored.
    virtual void init();

    // Each stores an IV, or none, and begins anew; whether that succeeded. An IV that is shorter
    // than the mode's is refused, of a longer one the beginning counts.
    bool set_iv(const std::vector<std::uint8_t>& iv);
    bool set_iv(const std::uint8_t* iv, std::size_t length);
    bool restart_without_iv();

    /// Stores the IV for the next init().
    void store_iv(const std::uint8_t* iv, std::size_t length);

    /// Whether block modes pad as PKCS#7 does. They do after each init().
    bool set_padding(bool enabled);

    // Additional data for decryption in mode_gcm. False for empty data, and in an encrypting
    // object, since the decrypting call serves both.
    bool set_aad(const std::string& data);
    bool set_aad(const std::vector<std::uint8_t>& data);
    bool set_aad(const std::uint8_t* data, std::size_t length);

    // The tag to verify in mode_gcm, 1 to 16 bytes.
    bool set_tag(const std::string& tag);
    bool set_tag(const std::vector<std::uint8_t>& tag);
    bool set_tag(const std::uint8_t* tag, std::size_t length);

    /// The count of bytes produced, or -1. In a block mode `out_size` must exceed `in_size` by a
    /// block, 16 bytes.
    std::int32_t update_into(std::uint8_t* out, std::size_t out_size, const std::uint8_t* in,
                             std::size_t in_size);

    /// The last bytes, or -1; needs room for 16.
    std::int32_t final_into(std::uint8_t* out, std::size_t out_size);

    void release_context() noexcept;

protected:
    /// Throws "Failed to copy context" if the source was never initialised.
    CBaseCipher(const CBaseCipher& source);

private:
    bool begin() noexcept;
    bool begin_cfb(const std::uint8_t* iv) noexcept;
    int decrypt(std::uint8_t* out, int& produced, const std::uint8_t* in, int count) noexcept;
    /// Whether libcrypto gave 1; the context goes if it did not.
    bool kept_after(int result) noexcept;
    bool has_room(std::size_t out_size, std::size_t in_size) const noexcept;

    ECipherOperation m_operation;
    ECipherMode m_cipher_mode;
    const EVP_CIPHER* m_cipher;
    cipher_context m_context;
    std::vector<std::uint8_t> m_key;
    std::vector<std::uint8_t> m_iv; // empty: none
    /// Does the work of a context that decrypts in mode_cfb, which stays at its beginning then.
    std::optional<cfb_decryption> m_cfb;
};

/// The same, and collects what it produces.
class CCipher : public CBaseCipher {
public:
    using CBaseCipher::CBaseCipher;
    ~CCipher() override;

    std::unique_ptr<CCipher> clone() const;

    /// Drops what was collected, too.
    void init() override;

    // Each collects what the input produces; false on failure.
    bool append(const std::uint8_t* bytes, std::size_t length);
    bool append(std::uint8_t byte);

    /// Ends the work and hands over all that was collected; empty on failure, which keeps it.
    std::vector<std::uint8_t> finish();

protected:
    CCipher(const CCipher&) = default;

private:
    std::vector<std::uint8_t> m_output;
};

} // namespace core

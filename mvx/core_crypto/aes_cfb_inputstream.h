#pragma once

#include "core_crypto/aes_inputstream.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace core {

/// Decrypts AES in CFB mode and seeks at will: to go on from a position takes no more than the
/// block of cipher text before it. A wrong key is not noticed and gives other bytes. One thread at
/// a time; a clone goes on at the same place and is independent.
class CAESCFBInputStream : public CAESInputStream {
public:
    static constexpr std::size_t buffer_size = 16384;
    static constexpr std::size_t padding_size = 16;
    static constexpr std::size_t max_padding_size = 16;

    /// Takes an IV of 16 bytes; any other counts as none, which means zeros. With `has_padding`
    /// padding as in PKCS#7 is cut off the end; what does not look like it stays.
    CAESCFBInputStream(input_stream_ptr inner_stream, std::vector<std::uint8_t> key,
                       std::vector<std::uint8_t> iv, bool has_padding);
    CAESCFBInputStream(input_stream_ptr inner_stream, const std::uint8_t* key,
                       std::size_t key_length, const std::uint8_t* iv, std::size_t iv_length,
                       bool has_padding);
    ~CAESCFBInputStream() override;

    // input_stream
    input_stream_ptr clone() const override;
    void reset_impl() override;

protected:
    CAESCFBInputStream(const CAESCFBInputStream& source) = default;

    // buffered_input_stream
    bool seek_inner(std::uint64_t target) override;

private:
    bool seek_cipher_text(std::uint64_t target);
    void trim_padding();

    std::vector<std::uint8_t> m_iv; // of position 0; 16 bytes or none
};

} // namespace core

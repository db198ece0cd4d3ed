#pragma once

#include "core/bufferedinputstream.h"
#include "core_crypto/cipher.h"

#include <memory>
#include <vector>

namespace core {

/// Decrypts an inner stream, a block of bytes at a time. Where in the cipher text to go on after a
/// seek depends on the mode: the classes made from this one know.
class CAESInputStream : public buffered_input_stream {
public:
    /// Reads up to `buffer_size` bytes of cipher text at once, which the cipher may turn into up to
    /// `padding_size` bytes more. reset_cipher() has to come before the first read.
    CAESInputStream(input_stream_ptr inner_stream, ECipherMode mode, std::size_t buffer_size,
                    std::size_t padding_size, std::vector<std::uint8_t> key, bool has_padding);
    CAESInputStream(input_stream_ptr inner_stream, ECipherMode mode, std::size_t buffer_size,
                    std::size_t padding_size, const std::uint8_t* key, std::size_t key_length,
                    bool has_padding);
    ~CAESInputStream() override;

    // input_stream
    input_stream_ptr clone() const override;
    std::uint64_t read_impl(std::uint8_t* target, std::uint64_t count) override;

protected:
    /// Throws "Failed to copy context." and what the copies of the inner stream and the cipher do.
    CAESInputStream(const CAESInputStream& source);

    // buffered_input_stream
    bool seek_inner(std::uint64_t target) override;
    bool fill_buffer() override;

    /// Empties the buffer and starts the cipher with this IV, or with none if it is empty.
    virtual void reset_cipher(const std::vector<std::uint8_t>& iv);

    bool has_padding() const noexcept { return m_has_padding; }

private:
    bool fill_decrypted();

    bool m_final_done = false;         // the cipher's last block has been taken
    std::vector<std::uint8_t> m_input; // cipher text of one read
    std::unique_ptr<CBaseCipher> m_cipher;
    bool m_has_padding; // the plain text ends in padding that is to be hidden
};

} // namespace core

#include "core_crypto/aes_inputstream.h"

#include "core/logandrethrow.h"

#include <algorithm>
#include <utility>

namespace core {

CAESInputStream::CAESInputStream(input_stream_ptr inner_stream, ECipherMode mode,
                                 std::size_t buffer_size, std::size_t padding_size,
                                 std::vector<std::uint8_t> key, bool has_padding)
    : buffered_input_stream(std::move(inner_stream), buffer_size + padding_size),
      m_input(buffer_size),
      m_cipher(std::make_unique<CBaseCipher>(op_decrypt, mode, std::move(key))),
      m_has_padding(has_padding) {}

CAESInputStream::CAESInputStream(input_stream_ptr inner_stream, ECipherMode mode,
                                 std::size_t buffer_size, std::size_t padding_size,
                                 const std::uint8_t* key, std::size_t key_length, bool has_padding)
    : CAESInputStream(std::move(inner_stream), mode, buffer_size, padding_size,
                      std::vector<std::uint8_t>(key, key + key_length), has_padding) {}

CAESInputStream::CAESInputStream(const CAESInputStream& source)
    : buffered_input_stream(source), m_final_done(source.m_final_done), m_input(source.m_input),
      m_has_padding(source.m_has_padding) {
    log_and_rethrow([&] {
        if (!source.m_cipher) return;
        m_cipher = source.m_cipher->clone();
        if (!m_cipher) throw exception("Failed to copy context.");
    });
}

CAESInputStream::~CAESInputStream() = default;

input_stream_ptr CAESInputStream::clone() const {
    assertion("false");
    return nullptr;
}

bool CAESInputStream::seek_inner(std::uint64_t /*target*/) {
    assertion("false && \"must be overriden for specified algorithm\"");
    return false;
}

void CAESInputStream::reset_cipher(const std::vector<std::uint8_t>& iv) {
    const auto reset = [&] {
        if (!m_cipher) return assertion("false");
        m_final_done = false;
        if (m_input.empty()) return;
        clear_buffer();
        // Padding is this class's own affair: libcrypto is not to strip any.
        if (!m_cipher->set_iv(iv) || !m_cipher->set_padding(false)) assertion("rc");
    };
    log_and_swallow(reset);
}

bool CAESInputStream::fill_buffer() {
    return log_and_swallow([&] { return fill_decrypted(); });
}

bool CAESInputStream::fill_decrypted() {
    if (!m_cipher || !inner) return false;
    const std::uint64_t got = inner->read_impl(m_input.data(), m_input.size());
    if (got != 0) {
        clear_buffer();
        const std::int32_t produced = m_cipher->update_into(
            buffer.data(), buffer.size(), m_input.data(), static_cast<std::size_t>(got));
        if (produced < 0) return false;
        buffer_len = static_cast<std::uint64_t>(produced);
    }
    if (m_final_done || inner->remaining() != 0) return true;

    const std::int32_t last = m_cipher->final_into(
        buffer.data() + buffer_len, buffer.size() - static_cast<std::size_t>(buffer_len));
    if (last < 0) return false;
    buffer_len += static_cast<std::uint64_t>(last);
    m_final_done = true;
    return true;
}

std::uint64_t CAESInputStream::read_impl(std::uint8_t* target, std::uint64_t count) {
    const std::uint64_t wanted = std::min(count, remaining());
    std::uint64_t copied = 0;
    while (copied != wanted) {
        if (buffered_available() == 0 && (!fill_buffer() || buffered_available() == 0)) break;
        copied += take_buffered(target + copied, wanted - copied);
    }
    return copied;
}

} // namespace core

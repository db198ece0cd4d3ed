#include "core_crypto/aes_cfb_inputstream.h"

#include "core/logandrethrow.h"

#include <algorithm>
#include <utility>

namespace core {

namespace {

constexpr std::uint64_t block_size = 16; // of AES, in bytes

} // namespace

CAESCFBInputStream::CAESCFBInputStream(input_stream_ptr inner_stream, std::vector<std::uint8_t> key,
                                       std::vector<std::uint8_t> iv, bool has_padding)
    : CAESInputStream(std::move(inner_stream), mode_cfb, buffer_size, padding_size, std::move(key),
                      has_padding) {
    if (iv.size() == block_size) m_iv = std::move(iv);
    trim_padding();
    reset();
    reset_cipher(m_iv);
    if (inner) inner->reset(); // which the seeks before have moved, unseen behind an empty buffer
}

CAESCFBInputStream::CAESCFBInputStream(input_stream_ptr inner_stream, const std::uint8_t* key,
                                       std::size_t key_length, const std::uint8_t* iv,
                                       std::size_t iv_length, bool has_padding)
    : CAESCFBInputStream(std::move(inner_stream), std::vector<std::uint8_t>(key, key + key_length),
                         std::vector<std::uint8_t>(iv, iv + iv_length), has_padding) {}

CAESCFBInputStream::~CAESCFBInputStream() = default;

input_stream_ptr CAESCFBInputStream::clone() const {
    return logged_clone([&]() -> input_stream_ptr {
        return std::make_unique<make_smart_enabler<CAESCFBInputStream>>(*this);
    });
}

void CAESCFBInputStream::reset_impl() {
    CAESInputStream::reset_impl();
    reset_cipher(m_iv);
}

bool CAESCFBInputStream::seek_inner(std::uint64_t target) {
    return log_and_swallow([&] { return inner && seek_cipher_text(target); });
}

/// In this mode the cipher text of a block is the IV of the next one.
bool CAESCFBInputStream::seek_cipher_text(std::uint64_t target) {
    clear_buffer(); // which belongs to where the inner stream stands now
    if (target < block_size) {
        inner->reset();
        reset_cipher(m_iv);
    } else {
        if (!inner->set_pos(target - target % block_size - block_size)) {
            assertion("rc");
            return false;
        }
        const std::vector<std::uint8_t> block_before = inner->read_bytes(block_size);
        if (block_before.size() != block_size) {
            assertion("rc");
            return false;
        }
        reset_cipher(block_before);
    }
    ensure_data();
    return seek_in_buffer(target);
}

void CAESCFBInputStream::trim_padding() {
    const std::uint64_t size = size_impl();
    if (!has_padding() || size < max_padding_size) return;
    if (!CAESCFBInputStream::seek_inner(size - max_padding_size))
        return assertion("!\"Seek failed.\"");

    const std::vector<std::uint8_t> tail = read_bytes(2 * max_padding_size);
    if (tail.size() != max_padding_size) {
        return assertion("tmp.size() == max_padding_size");
    }
    const std::uint8_t padding = tail.back();
    if (padding > max_padding_size) return;
    const bool is_padding = std::all_of(tail.end() - padding, tail.end(),
                                        [&](std::uint8_t byte) { return byte == padding; });
    if (is_padding) set_length(size - padding);
}

} // namespace core

#include "core/bufferedinputstream.h"

#include "core/logandrethrow.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace core {

buffered_input_stream::buffered_input_stream(input_stream_ptr inner_stream, std::size_t buffer_size)
    : inner(std::move(inner_stream)),
      buffer(log_and_rethrow([&] { return byte_buffer(buffer_size); })) {}

buffered_input_stream::buffered_input_stream(buffered_input_stream&& source) noexcept
    : input_stream(source), inner(std::move(source.inner)), buffer(std::move(source.buffer)),
      buffer_pos(std::exchange(source.buffer_pos, 0)),
      buffer_len(std::exchange(source.buffer_len, 0)) {}

buffered_input_stream::buffered_input_stream(const buffered_input_stream& source)
    : input_stream(source), inner(source.inner ? source.inner->clone() : nullptr),
      buffer(source.buffer), buffer_pos(source.buffer_pos), buffer_len(source.buffer_len) {
    if (source.inner && !inner) throw_logged("Failed to clone inner stream.");
}

buffered_input_stream::~buffered_input_stream() = default;

input_stream_ptr buffered_input_stream::clone() const {
    return logged_clone([&]() -> input_stream_ptr {
        return std::make_unique<make_smart_enabler<buffered_input_stream>>(*this);
    });
}

bool buffered_input_stream::is_seekable() const { return !inner || inner->is_seekable(); }

template <stream_value Value, class BaseRead>
Value buffered_input_stream::read_value(stream_encoding encoding, BaseRead&& base_read) {
    if (!ensure_data()) assertion("rc");
    if (buffered_available() < sizeof(Value)) return base_read();
    const auto value = decode<Value>({buffer.data() + buffer_pos, sizeof(Value)}, encoding);
    buffer_pos += sizeof(Value);
    return value;
}

// A value that straddles the end of the buffer is read big-endian, whatever the caller asked for.

std::uint8_t buffered_input_stream::read_uint8() {
    return read_value<std::uint8_t>(encoding_big_endian,
                                    [&] { return input_stream::read_uint8(); });
}

std::uint16_t buffered_input_stream::read_uint16(stream_encoding encoding) {
    return read_value<std::uint16_t>(
        encoding, [&] { return input_stream::read_uint16(encoding_big_endian); });
}

std::uint32_t buffered_input_stream::read_uint32(stream_encoding encoding) {
    return read_value<std::uint32_t>(
        encoding, [&] { return input_stream::read_uint32(encoding_big_endian); });
}

std::uint64_t buffered_input_stream::read_uint64(stream_encoding encoding) {
    return read_value<std::uint64_t>(
        encoding, [&] { return input_stream::read_uint64(encoding_big_endian); });
}

float buffered_input_stream::read_float(stream_encoding encoding) {
    return read_value<float>(encoding,
                             [&] { return input_stream::read_float(encoding_big_endian); });
}

double buffered_input_stream::read_double(stream_encoding encoding) {
    return read_value<double>(encoding,
                              [&] { return input_stream::read_double(encoding_big_endian); });
}

std::uint64_t buffered_input_stream::take_buffered(std::uint8_t* target, std::uint64_t count) {
    const std::uint64_t taken = std::min(count, buffered_available());
    if (taken == 0) return 0;
    std::memcpy(target, buffer.data() + buffer_pos, static_cast<std::size_t>(taken));
    buffer_pos += taken;
    return taken;
}

std::uint64_t buffered_input_stream::read_impl(std::uint8_t* target, std::uint64_t count) {
    if (!ensure_data()) assertion("rc");
    const std::uint64_t copied = take_buffered(target, count);
    if (copied == count || !inner) return copied;
    // From here on the buffer does not end where the inner stream stands: a seek back must not be
    // served from it.
    clear_buffer();
    return copied + inner->read_impl(target + copied, count - copied);
}

std::uint64_t buffered_input_stream::size_impl() const { return inner ? inner->size() : 0; }

std::uint64_t buffered_input_stream::pos_impl() const {
    return inner ? inner->pos() + buffer_pos - buffer_len : size();
}

void buffered_input_stream::reset_impl() {
    clear_buffer();
    if (inner) inner->reset();
}

bool buffered_input_stream::seek_in_buffer(std::uint64_t target) {
    const std::uint64_t current = pos_impl();
    if (target < current) {
        if (current - target > buffer_pos) return false;
        buffer_pos -= current - target;
        return true;
    }
    if (target - current > buffered_available()) return false;
    buffer_pos += target - current;
    return true;
}

bool buffered_input_stream::set_pos_impl(std::uint64_t target) {
    if (seek_in_buffer(target)) return true;
    const std::uint64_t current = pos_impl();
    const bool spent = buffer_len != 0 && buffer_pos == buffer_len;
    if (spent && target > current && target - current < buffer.size()) {
        // The target is within the next block: a fill is cheaper than a seek of the inner stream.
        if (!fill_buffer()) {
            assertion("rc");
        } else if (seek_in_buffer(target)) {
            return true;
        }
    }
    return seek_inner(target);
}

bool buffered_input_stream::seek_inner(std::uint64_t target) {
    if (!inner) return false;
    clear_buffer();
    return inner->set_pos(target);
}

bool buffered_input_stream::fill_buffer() {
    if (!inner) return false;
    buffer_len = inner->read_impl(buffer.data(), buffer.size());
    buffer_pos = 0;
    return buffer_len != 0;
}

bool buffered_input_stream::ensure_data() { return buffer_len != buffer_pos || fill_buffer(); }

} // namespace core

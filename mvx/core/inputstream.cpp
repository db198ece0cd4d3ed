#include "core/inputstream.h"

#include "core/handle.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <new>
#include <stdexcept>

namespace core {

namespace {

constexpr std::uint64_t skip_block = 16384;   // bytes that a stream without seeking skips at a time
constexpr std::uint64_t plain_buffer = 65536; // up to here a buffer is simply made
constexpr std::uint8_t continuation_bit = 0x80;

/// Fills a container with up to `count` bytes by one read. Counts come from unverified data, so a
/// large buffer is one that the system does not back with memory before it is written to.
template <class Bytes>
Bytes read_up_to(input_stream& stream, std::uint64_t count) {
    const auto as_bytes = [](Bytes& bytes) {
        return reinterpret_cast<std::uint8_t*>(bytes.data());
    };
    if (count <= plain_buffer) {
        Bytes bytes(static_cast<std::size_t>(count), typename Bytes::value_type{});
        bytes.resize(static_cast<std::size_t>(stream.read_impl(as_bytes(bytes), count)));
        return bytes;
    }
    const handle<std::uint8_t, std::free> block(
        static_cast<std::uint8_t*>(std::calloc(static_cast<std::size_t>(count), 1)));
    if (!block) log_and_rethrow([] { throw std::bad_alloc(); });
    const std::uint64_t got = stream.read_impl(block.get(), count);
    return Bytes(block.get(), block.get() + got);
}

/// The result of `read`, or `fallback` if it throws anything at all.
template <class Value, class Read>
Value value_or(Value fallback, Read&& read) {
    try {
        return read();
    } catch (...) {
        return fallback;
    }
}

} // namespace

namespace internals {

void fail_short_value() { throw_logged("Not enougth bytes."); }

void fail_invalid_encoding() { throw_logged("Invalid encoding."); }

} // namespace internals

input_stream::~input_stream() = default;

std::uint64_t input_stream::skip(std::uint64_t count) {
    if (is_seekable()) {
        const std::uint64_t start = pos();
        return set_pos(start + count) ? count : pos() - start;
    }
    std::uint64_t total = 0;
    log_and_swallow([&] {
        std::vector<std::uint8_t> scratch(skip_block);
        while (total != count) {
            const std::uint64_t got =
                read_impl(scratch.data(), std::min<std::uint64_t>(count - total, skip_block));
            if (got == 0) break;
            total += got;
        }
    });
    return total;
}

std::uint64_t input_stream::prev(std::uint64_t count) {
    if (!is_seekable()) {
        assertion("false && \"'prev' not available for non seekable streams!\"");
        return 0;
    }
    const std::uint64_t current = pos();
    if (current < count) {
        reset();
        return current - pos();
    }
    return set_pos(current - count) ? count : current - pos();
}

template <stream_value Value>
Value input_stream::read_value(stream_encoding encoding) {
    return decode<Value>(read_bytes(sizeof(Value)), encoding);
}

std::int8_t input_stream::read_int8() { return static_cast<std::int8_t>(read_uint8()); }

std::uint8_t input_stream::read_uint8() { return read_value<std::uint8_t>(encoding_big_endian); }

std::int16_t input_stream::read_int16(stream_encoding encoding) {
    return static_cast<std::int16_t>(read_uint16(encoding));
}

std::uint16_t input_stream::read_uint16(stream_encoding encoding) {
    return read_value<std::uint16_t>(encoding);
}

std::int32_t input_stream::read_int32(stream_encoding encoding) {
    return static_cast<std::int32_t>(read_uint32(encoding));
}

std::uint32_t input_stream::read_uint32(stream_encoding encoding) {
    return read_value<std::uint32_t>(encoding);
}

std::int64_t input_stream::read_int64(stream_encoding encoding) {
    return static_cast<std::int64_t>(read_uint64(encoding));
}

std::uint64_t input_stream::read_uint64(stream_encoding encoding) {
    return read_value<std::uint64_t>(encoding);
}

float input_stream::read_float(stream_encoding encoding) { return read_value<float>(encoding); }

double input_stream::read_double(stream_encoding encoding) { return read_value<double>(encoding); }

void input_stream::reset_impl() {
    if (is_seekable()) return;
    assertion("false && \"reset_impl must be implemented for non seekable streams!\"");
}

std::int8_t input_stream::read_int8(std::int8_t fallback) {
    return value_or(fallback, [&] { return read_int8(); });
}

std::uint8_t input_stream::read_uint8(std::uint8_t fallback) {
    return value_or(fallback, [&] { return read_uint8(); });
}

std::int16_t input_stream::read_int16(std::int16_t fallback, stream_encoding encoding) {
    return value_or(fallback, [&] { return read_int16(encoding); });
}

std::uint16_t input_stream::read_uint16(std::uint16_t fallback, stream_encoding encoding) {
    return value_or(fallback, [&] { return read_uint16(encoding); });
}

std::int32_t input_stream::read_int32(std::int32_t fallback, stream_encoding encoding) {
    return value_or(fallback, [&] { return read_int32(encoding); });
}

std::uint32_t input_stream::read_uint32(std::uint32_t fallback, stream_encoding encoding) {
    return value_or(fallback, [&] { return read_uint32(encoding); });
}

std::int64_t input_stream::read_int64(std::int64_t fallback, stream_encoding encoding) {
    return value_or(fallback, [&] { return read_int64(encoding); });
}

std::uint64_t input_stream::read_uint64(std::uint64_t fallback, stream_encoding encoding) {
    return value_or(fallback, [&] { return read_uint64(encoding); });
}

float input_stream::read_float(float fallback, stream_encoding encoding) {
    return value_or(fallback, [&] { return read_float(encoding); });
}

double input_stream::read_double(double fallback, stream_encoding encoding) {
    return value_or(fallback, [&] { return read_double(encoding); });
}

std::uint64_t input_stream::read_varint(std::uint64_t fallback, varint_type type) {
    return value_or(fallback, [&] { return read_varint(type); });
}

bool input_stream::reset() {
    if (is_seekable()) return set_pos(0);
    reset_impl();
    std::uint64_t passed = 0;
    while (passed < begin) {
        const std::uint64_t step = skip(begin - passed);
        if (step == 0) {
            assertion("false");
            error_logger{} << "Fail to skip.";
            return false;
        }
        passed += step;
    }
    return true;
}

bool input_stream::seek_to_end_of_view(std::uint64_t last) {
    if (!set_pos_impl(last)) assertion("rc");
    return false;
}

bool input_stream::set_pos(std::uint64_t position) {
    const std::uint64_t target = begin + position;
    const std::uint64_t last = view_end();
    if (target > last) return seek_to_end_of_view(last);
    if (target < begin) { // the addition wrapped
        assertion("false");
        return seek_to_end_of_view(last);
    }
    return set_pos_impl(target);
}

bool input_stream::mark_begin() {
    begin = pos_impl();
    return true;
}

bool input_stream::set_length(std::uint64_t length) {
    const std::uint64_t current = size();
    if (current <= length) return current == length;
    end = begin + length;
    reset();
    return true;
}

std::vector<std::uint8_t> input_stream::read_bytes(std::uint64_t count) {
    return read_up_to<std::vector<std::uint8_t>>(*this, count);
}

std::string input_stream::read_string(std::uint64_t count) {
    return read_up_to<std::string>(*this, count);
}

std::string input_stream::read_string(stream_encoding encoding, std::uint64_t count) {
    if (encoding == encoding_8bit) return read_string(count);
    if (encoding != encoding_16bit) internals::fail_invalid_encoding();
    if (2 * count < count) throw_logged("Error: overflow.");
    return read_string(2 * count);
}

template <std::size_t Width, std::uint8_t Terminator>
std::string input_stream::read_until(std::uint64_t max_length) {
    std::string text;
    std::uint64_t consumed = 0;
    for (;;) {
        if (size() - pos() == 0) return {};
        std::array<char, Width> unit;
        for (char& byte : unit)
            byte = read_int8();
        consumed += Width;
        const bool ends =
            std::all_of(unit.begin(), unit.end(), [](char byte) { return byte == Terminator; });
        if (ends) return text;
        if (max_length != 0 && consumed > max_length) return {};
        text.append(unit.data(), Width);
    }
}

std::string input_stream::read_zstring(stream_encoding encoding, std::uint64_t max_length) {
    if (encoding == encoding_8bit) return read_until<1, 0>(max_length);
    if (encoding == encoding_16bit) return read_until<2, 0>(max_length);
    internals::fail_invalid_encoding();
}

std::string input_stream::read_zstring(std::uint64_t max_length) {
    return read_zstring(encoding_8bit, max_length);
}

std::string input_stream::read_line(std::uint64_t max_length) {
    return read_until<1, '\n'>(max_length);
}

std::uint64_t input_stream::read_length_prefix(std::uint64_t prefix_size,
                                               stream_encoding encoding) {
    const auto length_or_none = [](auto length) -> std::uint64_t {
        return length == std::numeric_limits<decltype(length)>::max() ? 0 : length;
    };
    switch (prefix_size) {
    case 1:
        return length_or_none(read_uint8(std::uint8_t{0}));
    case 2:
        return length_or_none(read_uint16(std::uint16_t{0}, encoding));
    case 4:
        return length_or_none(read_uint32(std::uint32_t{0}, encoding));
    case 8:
        return length_or_none(read_uint64(std::uint64_t{0}, encoding));
    default:
        return 0;
    }
}

std::vector<std::uint8_t> input_stream::read_prefixed_bytes(std::uint64_t prefix_size,
                                                            stream_encoding encoding) {
    return read_bytes(read_length_prefix(prefix_size, encoding));
}

std::string input_stream::read_prefixed_string(std::uint64_t prefix_size,
                                               stream_encoding encoding) {
    return read_string(read_length_prefix(prefix_size, encoding));
}

std::uint64_t input_stream::read_varint(varint_type type) {
    if (type == varint_low_first) return read_varint_low_first();
    if (type == varint_high_first) return read_varint_high_first();
    throw_logged("Invalid varint type");
}

std::uint64_t input_stream::read_varint_low_first() {
    // The layout is defined over 32-bit signed arithmetic, its shift count modulo 32 and its result
    // sign-extended, so a fifth group can set the upper half.
    const auto shifted = [](std::uint32_t group, unsigned shift) {
        const auto low_half = static_cast<std::int32_t>(group << (shift & 31));
        return static_cast<std::uint64_t>(std::int64_t{low_half});
    };
    std::uint64_t value = 0;
    unsigned shift = 0;
    for (;;) {
        const auto byte = static_cast<std::uint8_t>(read_int8());
        if ((byte & continuation_bit) == 0) return value | shifted(byte, shift);
        value |= shifted(byte & 0x7Fu, shift);
        shift += 7;
        if (shift > 63) throw_logged("Invalid varint");
    }
}

std::uint64_t input_stream::read_varint_high_first() {
    std::uint64_t bytes = 0;
    std::uint64_t count = 0;
    std::uint8_t byte = 0;
    do {
        byte = static_cast<std::uint8_t>(read_int8());
        bytes = (bytes << 8) | byte;
        ++count;
    } while ((byte & continuation_bit) != 0);
    if (count > 8) throw_logged("Invalid varint");
    // Value zero has no one-byte form here: leading zero bytes drop out, and none is left.
    if (bytes == 0) throw_logged<std::out_of_range>("invalid vector<T> subscript");

    std::uint64_t value = 0;
    for (std::uint64_t left = count; left > 0; --left) {
        value = (value << 7) | ((bytes >> (8 * (left - 1))) & 0x7F);
    }
    return value;
}

} // namespace core

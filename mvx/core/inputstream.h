#pragma once

#include "core/logandrethrow.h"

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

namespace core {

/// Byte order of a number or width of a text unit: one enumeration serves both kinds of read.
enum stream_encoding : std::uint16_t {
    encoding_big_endian = 0,
    encoding_little_endian = 1,
    encoding_8bit = 2,
    encoding_16bit = 3,
};

/// Which 7-bit group of a variable-length integer comes first.
enum varint_type : std::uint16_t {
    varint_low_first = 0,
    varint_high_first = 1,
};

template <class Value>
concept stream_value = std::unsigned_integral<Value> || std::floating_point<Value>;

namespace internals {

template <std::size_t Width>
using unsigned_of_width = std::conditional_t<
    Width == 1, std::uint8_t,
    std::conditional_t<Width == 2, std::uint16_t,
                       std::conditional_t<Width == 4, std::uint32_t, std::uint64_t>>>;

/// Throws "Not enougth bytes.", logged.
[[noreturn]] void fail_short_value();

/// Throws "Invalid encoding.", logged.
[[noreturn]] void fail_invalid_encoding();

} // namespace internals

/// Assembles a value from exactly its size in bytes. Throws "Not enougth bytes." on any other size,
/// then "Invalid encoding." unless the encoding is a byte order.
template <stream_value Value>
Value decode(std::span<const std::uint8_t> bytes, stream_encoding encoding) {
    if (bytes.size() != sizeof(Value)) internals::fail_short_value();
    if (encoding != encoding_big_endian && encoding != encoding_little_endian) {
        internals::fail_invalid_encoding();
    }
    using bits_type = internals::unsigned_of_width<sizeof(Value)>;
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i != sizeof(Value); ++i) {
        const bool low_first = encoding == encoding_little_endian;
        bits = (bits << 8) | bytes[low_first ? sizeof(Value) - 1 - i : i];
    }
    return std::bit_cast<Value>(static_cast<bits_type>(bits));
}

class input_stream;

/// Sole owner of a stream.
using input_stream_ptr = std::unique_ptr<input_stream>;

/// Root of every source of bytes: read-only, mostly seekable, with a movable view onto the source.
///
/// The operations that end in `_impl` work in the source's own coordinates; `pos`, `size`,
/// `set_pos` and the rest are relative to the view, which begins at `begin` and ends at `end`, or
/// where the source does. A stream belongs to one thread at a time; a second reader takes a clone.
class input_stream {
public:
    input_stream() = default;
    input_stream& operator=(const input_stream&) = delete;
    virtual ~input_stream();

    /// A stream that reads the same data independently, at the same position, with the same view.
    /// A std::exception on the way is logged, and the result is empty.
    virtual input_stream_ptr clone() const = 0;

    /// Whether set_pos_impl works.
    virtual bool is_seekable() const = 0;

    /// Moves on by up to `count` bytes and returns how far it went.
    virtual std::uint64_t skip(std::uint64_t count);

    /// Moves back by up to `count` bytes and returns how far it went. Only if seekable.
    virtual std::uint64_t prev(std::uint64_t count);

    // Typed reads. They throw core::exception "Not enougth bytes." or "Invalid encoding.". The
    // signed ones reinterpret what the unsigned ones of the same width give.
    virtual std::int8_t read_int8();
    virtual std::uint8_t read_uint8();
    virtual std::int16_t read_int16(stream_encoding encoding);
    virtual std::uint16_t read_uint16(stream_encoding encoding);
    virtual std::int32_t read_int32(stream_encoding encoding);
    virtual std::uint32_t read_uint32(stream_encoding encoding);
    virtual std::int64_t read_int64(stream_encoding encoding);
    virtual std::uint64_t read_uint64(stream_encoding encoding);
    virtual float read_float(stream_encoding encoding);
    virtual double read_double(stream_encoding encoding);

    /// Copies up to `count` bytes and moves on by as many. 0 means that nothing more can be read;
    /// a short count is no error.
    virtual std::uint64_t read_impl(std::uint8_t* buffer, std::uint64_t count) = 0;

    /// End of the source.
    virtual std::uint64_t size_impl() const = 0;

    /// Current position in the source.
    virtual std::uint64_t pos_impl() const = 0;

    /// Brings a source that cannot seek back to its start.
    virtual void reset_impl();

    /// Goes to `position`; whether the stream now stands there.
    virtual bool set_pos_impl(std::uint64_t position) = 0;

    // The same reads with a default value: what the plain read throws is caught, and the default is
    // the result. The position stays where the failed read left it.
    std::int8_t read_int8(std::int8_t fallback);
    std::uint8_t read_uint8(std::uint8_t fallback);
    std::int16_t read_int16(std::int16_t fallback, stream_encoding encoding);
    std::uint16_t read_uint16(std::uint16_t fallback, stream_encoding encoding);
    std::int32_t read_int32(std::int32_t fallback, stream_encoding encoding);
    std::uint32_t read_uint32(std::uint32_t fallback, stream_encoding encoding);
    std::int64_t read_int64(std::int64_t fallback, stream_encoding encoding);
    std::uint64_t read_uint64(std::uint64_t fallback, stream_encoding encoding);
    float read_float(float fallback, stream_encoding encoding);
    double read_double(double fallback, stream_encoding encoding);
    std::uint64_t read_varint(std::uint64_t fallback, varint_type type);

    /// Position in the view.
    std::uint64_t pos() const { return pos_impl() - begin; }

    /// Length of the view.
    std::uint64_t size() const { return view_end() - begin; }

    /// Bytes from here to the end of the view. Wraps if the stream has run past it.
    std::uint64_t remaining() const { return size() + begin - pos_impl(); }

    /// Back to the start of the view; whether the stream now stands there.
    bool reset();

    /// Goes to a position in the view. Beyond its end the stream stands at the end, and the result
    /// is false.
    bool set_pos(std::uint64_t position);

    /// Drops what has been read so far out of the view. Always true.
    bool mark_begin();

    /// Shortens the view and goes to its start. A view is never lengthened: true only if `length`
    /// is not above size().
    bool set_length(std::uint64_t length);

    /// Up to `count` bytes by one read; shorter where the data end. A `count` far beyond the data
    /// commits no memory.
    std::vector<std::uint8_t> read_bytes(std::uint64_t count);
    std::string read_string(std::uint64_t count);

    /// `count` characters of the given text width, as the bytes stand in the stream. Throws
    /// "Invalid encoding." or "Error: overflow.".
    std::string read_string(stream_encoding encoding, std::uint64_t count);

    /// Text up to a zero unit, which is consumed and not part of the result. Empty, with the bytes
    /// consumed, if the view ends first or more than `max_length` bytes of text came (0: no limit).
    std::string read_zstring(stream_encoding encoding, std::uint64_t max_length);
    std::string read_zstring(std::uint64_t max_length);

    /// Bytes up to a line feed, with read_zstring's rules: a last line without one is lost.
    std::string read_line(std::uint64_t max_length);

    /// A length field of 1, 2, 4 or 8 bytes. 0 if it cannot be read, is of another size, or has all
    /// bits set, which means "no data".
    std::uint64_t read_length_prefix(std::uint64_t prefix_size, stream_encoding encoding);
    std::vector<std::uint8_t> read_prefixed_bytes(std::uint64_t prefix_size,
                                                  stream_encoding encoding);
    std::string read_prefixed_string(std::uint64_t prefix_size, stream_encoding encoding);

    /// A variable-length integer. Throws "Invalid varint", "Invalid varint type", and
    /// std::out_of_range for a single zero byte in the layout varint_high_first.
    std::uint64_t read_varint(varint_type type);

protected:
    input_stream(const input_stream&) = default;

    std::uint64_t begin = 0;
    std::optional<std::uint64_t> end;

private:
    std::uint64_t view_end() const { return end ? *end : size_impl(); }

    bool seek_to_end_of_view(std::uint64_t last);
    template <stream_value Value>
    Value read_value(stream_encoding encoding);
    template <std::size_t Width, std::uint8_t Terminator>
    std::string read_until(std::uint64_t max_length);
    std::uint64_t read_varint_low_first();
    std::uint64_t read_varint_high_first();
};

/// The class of which clone operations make their objects.
template <class T>
struct make_smart_enabler final : T {
    using T::T;

    explicit make_smart_enabler(const T& original) : T(original) {}

    ~make_smart_enabler() override = default;
};

} // namespace core

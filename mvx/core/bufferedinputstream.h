#pragma once

#include "core/inputstream.h"

#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace core {

namespace internals {

/// Leaves the bytes of a new container as they come: they are written before they are read.
template <class T>
struct unfilled_allocator : std::allocator<T> {
    template <class U>
    struct rebind {
        using other = unfilled_allocator<U>;
    };

    template <class U>
    void construct(U* place) noexcept {
        ::new (static_cast<void*>(place)) U;
    }

    template <class U, class... Args>
    void construct(U* place, Args&&... args) {
        std::construct_at(place, std::forward<Args>(args)...);
    }
};

} // namespace internals

using byte_buffer = std::vector<std::uint8_t, internals::unfilled_allocator<std::uint8_t>>;

/// Keeps a block of an inner stream in memory, so that a typed read costs no call to it. Also the
/// base of streams that produce their bytes a block at a time: they replace fill_buffer, and as a
/// rule seek_inner and read_impl. Own positions are the inner stream's view positions.
class buffered_input_stream : public input_stream {
public:
    static constexpr std::size_t default_buffer_size = 16384;

    explicit buffered_input_stream(input_stream_ptr inner_stream,
                                   std::size_t buffer_size = default_buffer_size);
    /// Leaves the source with no inner stream and an empty buffer.
    buffered_input_stream(buffered_input_stream&& source) noexcept;
    ~buffered_input_stream() override;

    // input_stream
    input_stream_ptr clone() const override;
    bool is_seekable() const override;
    std::uint8_t read_uint8() override;
    std::uint16_t read_uint16(stream_encoding encoding) override;
    std::uint32_t read_uint32(stream_encoding encoding) override;
    std::uint64_t read_uint64(stream_encoding encoding) override;
    float read_float(stream_encoding encoding) override;
    double read_double(stream_encoding encoding) override;
    std::uint64_t read_impl(std::uint8_t* target, std::uint64_t count) override;
    std::uint64_t size_impl() const override;
    std::uint64_t pos_impl() const override;
    void reset_impl() override;
    bool set_pos_impl(std::uint64_t target) override;

    // The forms with a default value, which the overrides would hide.
    using input_stream::read_double;
    using input_stream::read_float;
    using input_stream::read_uint16;
    using input_stream::read_uint32;
    using input_stream::read_uint64;
    using input_stream::read_uint8;

protected:
    /// Clones the inner stream and copies the buffer. Throws "Failed to clone inner stream.".
    buffered_input_stream(const buffered_input_stream& source);

    /// Empties the buffer and seeks the inner stream.
    virtual bool seek_inner(std::uint64_t target);

    /// Replaces the buffer's contents by the next block; false if there is none.
    virtual bool fill_buffer();

    /// True if unread bytes remain, else what fill_buffer gives.
    virtual bool ensure_data();

    bool has_inner() const noexcept { return inner != nullptr; }

    std::uint64_t buffered_available() const noexcept { return buffer_len - buffer_pos; }

    void clear_buffer() noexcept { buffer_pos = buffer_len = 0; }

    /// Moves within the buffer. False, with nothing changed, if `target` is outside of it.
    bool seek_in_buffer(std::uint64_t target);

    /// Copies up to `count` unread bytes out of the buffer.
    std::uint64_t take_buffered(std::uint8_t* target, std::uint64_t count);

    input_stream_ptr inner;
    byte_buffer buffer;
    std::uint64_t buffer_pos = 0; // next unread byte; the bytes before it stay valid
    std::uint64_t buffer_len = 0; // valid bytes

private:
    template <stream_value Value, class BaseRead>
    Value read_value(stream_encoding encoding, BaseRead&& base_read);
};

} // namespace core

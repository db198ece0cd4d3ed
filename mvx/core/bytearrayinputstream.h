#pragma once

#include "core/inputstream.h"

#include <cstdint>

namespace core {

/// Reads bytes that somebody else owns: the buffer must outlive the stream and every clone of it.
/// A typed read past the end throws "Out of range.", and no failed typed read moves the position.
/// A seek to exactly the end goes there and yet reports failure.
class CShallowByteArrayInputStream : public input_stream {
public:
    CShallowByteArrayInputStream(const std::uint8_t* bytes, std::uint64_t count);
    ~CShallowByteArrayInputStream() override;

    // input_stream
    input_stream_ptr clone() const override;

    bool is_seekable() const override { return true; }

    std::uint8_t read_uint8() override;
    std::uint16_t read_uint16(stream_encoding encoding) override;
    std::uint32_t read_uint32(stream_encoding encoding) override;
    std::uint64_t read_uint64(stream_encoding encoding) override;
    float read_float(stream_encoding encoding) override;
    double read_double(stream_encoding encoding) override;
    std::uint64_t read_impl(std::uint8_t* buffer, std::uint64_t count) override;

    std::uint64_t size_impl() const override { return length; }

    std::uint64_t pos_impl() const override { return position; }

    bool set_pos_impl(std::uint64_t target) override;

    // The forms with a default value, which the overrides would hide.
    using input_stream::read_double;
    using input_stream::read_float;
    using input_stream::read_uint16;
    using input_stream::read_uint32;
    using input_stream::read_uint64;
    using input_stream::read_uint8;

protected:
    CShallowByteArrayInputStream(const CShallowByteArrayInputStream&) = default;

    const std::uint8_t* data;
    std::uint64_t position = 0;
    std::uint64_t length;

private:
    /// Bytes left in the view and in the array; a shortened view may end before the position.
    std::uint64_t available() const noexcept;
    template <stream_value Value>
    Value read_value(stream_encoding encoding);
};

/// Reads a private copy of the bytes.
class CDeepByteArrayInputStream : public CShallowByteArrayInputStream {
public:
    CDeepByteArrayInputStream(const std::uint8_t* bytes, std::uint64_t count);
    ~CDeepByteArrayInputStream() override;

    // input_stream
    input_stream_ptr clone() const override;

protected:
    CDeepByteArrayInputStream(const CDeepByteArrayInputStream& source);
};

} // namespace core

#include "core/bytearrayinputstream.h"

#include "core/logandrethrow.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace core {

namespace {

/// A copy that `data` of a deep stream owns.
const std::uint8_t* owned_copy(const std::uint8_t* bytes, std::uint64_t count) {
    return log_and_rethrow([&] {
        auto copy = std::make_unique<std::uint8_t[]>(static_cast<std::size_t>(count));
        if (count != 0) std::memcpy(copy.get(), bytes, static_cast<std::size_t>(count));
        return copy.release();
    });
}

} // namespace

CShallowByteArrayInputStream::CShallowByteArrayInputStream(const std::uint8_t* bytes,
                                                           std::uint64_t count)
    : data(bytes), length(count) {}

CShallowByteArrayInputStream::~CShallowByteArrayInputStream() = default;

input_stream_ptr CShallowByteArrayInputStream::clone() const {
    return logged_clone([&]() -> input_stream_ptr {
        return std::make_unique<make_smart_enabler<CShallowByteArrayInputStream>>(*this);
    });
}

std::uint64_t CShallowByteArrayInputStream::available() const noexcept {
    return std::min(remaining(), length - std::min(position, length));
}

template <stream_value Value>
Value CShallowByteArrayInputStream::read_value(stream_encoding encoding) {
    if (available() < sizeof(Value)) throw_logged("Out of range.");
    const auto value = decode<Value>({data + position, sizeof(Value)}, encoding);
    position += sizeof(Value);
    return value;
}

std::uint8_t CShallowByteArrayInputStream::read_uint8() {
    return read_value<std::uint8_t>(encoding_big_endian);
}

std::uint16_t CShallowByteArrayInputStream::read_uint16(stream_encoding encoding) {
    return read_value<std::uint16_t>(encoding);
}

std::uint32_t CShallowByteArrayInputStream::read_uint32(stream_encoding encoding) {
    return read_value<std::uint32_t>(encoding);
}

std::uint64_t CShallowByteArrayInputStream::read_uint64(stream_encoding encoding) {
    return read_value<std::uint64_t>(encoding);
}

float CShallowByteArrayInputStream::read_float(stream_encoding encoding) {
    return read_value<float>(encoding);
}

double CShallowByteArrayInputStream::read_double(stream_encoding encoding) {
    return read_value<double>(encoding);
}

std::uint64_t CShallowByteArrayInputStream::read_impl(std::uint8_t* buffer, std::uint64_t count) {
    const std::uint64_t taken = std::min(count, available());
    if (taken == 0) return 0;
    std::memcpy(buffer, data + position, static_cast<std::size_t>(taken));
    position += taken;
    return taken;
}

bool CShallowByteArrayInputStream::set_pos_impl(std::uint64_t target) {
    const bool inside = target < length;
    // The fall-back is the view's length, not its end in the array: the two differ behind a mark.
    position = inside ? target : size();
    return inside;
}

CDeepByteArrayInputStream::CDeepByteArrayInputStream(const std::uint8_t* bytes, std::uint64_t count)
    : CShallowByteArrayInputStream(owned_copy(bytes, count), count) {}

CDeepByteArrayInputStream::CDeepByteArrayInputStream(const CDeepByteArrayInputStream& source)
    : CShallowByteArrayInputStream(source) {
    data = owned_copy(source.data, source.length);
}

CDeepByteArrayInputStream::~CDeepByteArrayInputStream() { delete[] std::exchange(data, nullptr); }

input_stream_ptr CDeepByteArrayInputStream::clone() const {
    return logged_clone([&]() -> input_stream_ptr {
        return std::make_unique<make_smart_enabler<CDeepByteArrayInputStream>>(*this);
    });
}

} // namespace core

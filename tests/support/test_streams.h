#pragma once

#include "core/bytearrayinputstream.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string_view>
#include <vector>

namespace support {

using bytes = std::vector<std::uint8_t>;

inline bytes to_bytes(std::string_view text) { return {text.begin(), text.end()}; }

/// "0aff": the bytes 10 and 255.
inline bytes from_hex(std::string_view digits) {
    const auto value = [](char digit) { return digit <= '9' ? digit - '0' : digit - 'a' + 10; };
    bytes content(digits.size() / 2);
    for (std::size_t i = 0; i != content.size(); ++i) {
        content[i] =
            static_cast<std::uint8_t>(value(digits[2 * i]) << 4 | value(digits[2 * i + 1]));
    }
    return content;
}

/// Adds text or bytes at the end.
template <class Bytes>
void append(bytes& target, const Bytes& more) {
    std::copy(more.begin(), more.end(), std::back_inserter(target));
}

/// One number in a layout of bytes: its value, and its width in bytes.
struct field {
    std::uint64_t value;
    std::size_t width;
};

/// Adds numbers at the end, little-endian.
inline void append_fields(bytes& target, std::initializer_list<field> fields) {
    for (const auto& [value, width] : fields) {
        for (std::size_t i = 0; i != width; ++i)
            target.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
}

/// `count` bytes that differ from their neighbours and repeat only after 251.
inline bytes counted_bytes(std::size_t count) {
    bytes content(count);
    for (std::size_t i = 0; i != count; ++i)
        content[i] = static_cast<std::uint8_t>(i % 251);
    return content;
}

inline core::input_stream_ptr deep_stream(const bytes& content) {
    return std::make_unique<core::CDeepByteArrayInputStream>(content.data(), content.size());
}

/// Delivers at most `most` bytes a read, and counts the reads and seeks.
class trickle_stream : public core::input_stream {
public:
    trickle_stream(bytes content, std::uint64_t most_each)
        : most(most_each), m_content(std::move(content)) {}

    core::input_stream_ptr clone() const override {
        if (clone_fails) return nullptr;
        return std::make_unique<core::make_smart_enabler<trickle_stream>>(*this);
    }

    bool is_seekable() const override { return true; }

    std::uint64_t read_impl(std::uint8_t* buffer, std::uint64_t count) override {
        ++reads;
        const std::uint64_t got = std::min({count, most, remaining()});
        std::copy_n(m_content.begin() + static_cast<std::ptrdiff_t>(m_pos), got, buffer);
        m_pos += got;
        return got;
    }

    std::uint64_t size_impl() const override { return m_content.size(); }

    std::uint64_t pos_impl() const override { return m_pos; }

    bool set_pos_impl(std::uint64_t position) override {
        ++seeks;
        m_pos = std::min<std::uint64_t>(position, m_content.size());
        return m_pos == position;
    }

    std::uint64_t most;
    int reads = 0;
    int seeks = 0;
    bool clone_fails = false;

protected:
    trickle_stream(const trickle_stream&) = default;

private:
    bytes m_content;
    std::uint64_t m_pos = 0;
};

/// Cannot seek; can start over.
class forward_stream : public trickle_stream {
public:
    using trickle_stream::trickle_stream;

    bool is_seekable() const override { return false; }

    void reset_impl() override { trickle_stream::set_pos_impl(0); }

    bool set_pos_impl(std::uint64_t) override { return false; }
};

} // namespace support

#pragma once

#include "support/test_streams.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <stdexcept>
#include <string>

namespace support {

struct stream_class {
    std::string name;
    std::function<core::input_stream_ptr(const bytes&)> make;
    bool in_memory = false;         // never seeks to its very end; a failed value stays to be read
    bool read_stops_at_view = true; // read_impl heeds a shortened view
    std::uint64_t block = 0;        // a value across the end of such a block comes out big-endian
};

/// A stream beside the bytes that it should have: operations of all kinds on a view of it. What is
/// open is decided by `choose`, which gives a number from 0 to the one that it is asked with.
/// Throws std::logic_error where the two differ.
class stream_comparison {
public:
    using chooser = std::function<std::uint64_t(std::uint64_t last)>;

    /// Takes a view that is all of the stream, or any part of it.
    stream_comparison(const stream_class& its_class, const core::input_stream& whole,
                      const bytes& content, bool is_whole, chooser choose)
        : m_class(its_class), m_stream(whole.clone()), m_content(content),
          m_choose(std::move(choose)) {
        const std::uint64_t total = content.size();
        m_from = is_whole ? 0 : m_choose(total / 2);
        require(m_stream->skip(m_from) == m_from, "skip to the view");
        require(m_stream->mark_begin(), "mark_begin");
        m_at = m_stream->skip(m_choose(total - m_from));
        require(!m_stream->set_length(total - m_from + 1), "a view never grows");
        require(m_stream->set_length(total - m_from), "set_length to what it is");
        require(m_stream->pos() == m_at, "an unchanged view leaves the position alone");
        m_size = is_whole ? total : m_choose(total - m_from);
        require(m_stream->set_length(m_size), "set_length");
        if (m_size != total - m_from) m_at = 0;
        m_has_end = !its_class.in_memory || m_from + m_size != total;
    }

    void step() {
        ++m_steps;
        require(m_stream->pos() == m_at, "pos");
        require(m_stream->size() == m_size, "size");
        const std::uint64_t count = m_choose(m_choose(3) == 0 ? 40000 : 300);
        const std::uint64_t ahead = std::min(count, m_size - m_at);
        const bytes coming = expected(ahead);
        const auto encoding = static_cast<core::stream_encoding>(
            m_choose(1) == 0 ? core::encoding_little_endian : core::encoding_big_endian);
        switch (m_choose(8)) {
        case 0:
            require(m_stream->read_bytes(m_class.read_stops_at_view ? count : ahead) == coming,
                    "read_bytes");
            m_at += ahead;
            break;
        case 1:
            require(m_stream->skip(count) == ahead, "skip");
            m_at += ahead;
            break;
        case 2:
            require(m_stream->prev(count) == std::min(count, m_at), "prev");
            m_at -= std::min(count, m_at);
            break;
        case 3: // to any place, or to the end and a little beyond
            m_at = m_choose(1) == 0 ? m_choose(m_size) : m_size + m_choose(1);
            require(m_stream->set_pos(m_at) == (m_at < m_size || (m_at == m_size && m_has_end)),
                    "set_pos");
            m_at = std::min(m_at, m_size);
            break;
        case 4:
            require(m_stream->reset() == (m_size != 0 || m_has_end), "reset");
            m_at = 0;
            break;
        case 5: { // what one of the two does is nothing to the other
            auto other = m_stream->clone();
            if (count % 2 == 0) m_stream.swap(other);
            other->set_pos(m_choose(m_size));
            other->read_bytes(100);
            break;
        }
        case 6:
            if (ahead >= 2) require_next(m_stream->read_uint16(encoding), coming, encoding);
            break;
        case 7:
            if (ahead >= 4) require_next(m_stream->read_uint32(encoding), coming, encoding);
            break;
        default:
            if (ahead >= 8) require_next(m_stream->read_uint64(encoding), coming, encoding);
        }
    }

private:
    void require(bool agrees, const char* operation) const {
        if (agrees) return;
        throw std::logic_error("step " + std::to_string(m_steps) + ": " + operation);
    }

    bytes expected(std::uint64_t count) const {
        const auto first = m_content.begin() + static_cast<std::ptrdiff_t>(m_from + m_at);
        return {first, first + static_cast<std::ptrdiff_t>(count)};
    }

    template <class Value>
    void require_next(Value value, const bytes& coming, core::stream_encoding encoding) {
        const auto decoded = [&](core::stream_encoding order) {
            return core::decode<Value>({coming.data(), sizeof(Value)}, order);
        };
        m_at += sizeof(Value);
        require(value == decoded(encoding) ||
                    (m_class.block != 0 && value == decoded(core::encoding_big_endian)),
                "a number");
    }

    const stream_class& m_class;
    core::input_stream_ptr m_stream;
    const bytes& m_content;
    chooser m_choose;
    std::uint64_t m_from = 0; // of the view
    std::uint64_t m_size = 0;
    std::uint64_t m_at = 0; // in the view
    bool m_has_end = true;
    int m_steps = 0;
};

} // namespace support

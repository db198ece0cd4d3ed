#include "morvanticshared/verifiedinputstream.h"

#include "core/logandrethrow.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

namespace package {

namespace {

constexpr std::uint64_t block_size = verified_blocks::block_size;

// So many bytes are read before they are checked: few calls, and the check still finds the bytes in
// the processor's cache.
constexpr std::uint64_t largest_read = 16 * block_size;

} // namespace

verified_input_stream::verified_input_stream(core::input_stream_ptr stored,
                                             std::shared_ptr<verified_blocks> blocks)
    : m_stored(std::move(stored)), m_blocks(std::move(blocks)) {}

verified_input_stream::verified_input_stream(const verified_input_stream& source)
    : input_stream(source), m_blocks(source.m_blocks), m_current(source.m_current),
      m_number(source.m_number), m_position(source.m_position) {}

verified_input_stream::~verified_input_stream() = default;

core::input_stream_ptr verified_input_stream::clone() const {
    return core::logged_clone([&]() -> core::input_stream_ptr {
        core::input_stream_ptr stored = m_stored->clone();
        // One that could not open its file once more has no bytes at all.
        if (!stored || (stored->size() == 0 && m_blocks->size() != 0)) return nullptr;
        auto copy = std::make_unique<core::make_smart_enabler<verified_input_stream>>(*this);
        copy->m_stored = std::move(stored);
        return copy;
    });
}

bool verified_input_stream::is_seekable() const { return m_stored->is_seekable(); }

std::uint64_t verified_input_stream::read_impl(std::uint8_t* buffer, std::uint64_t count) {
    const std::uint64_t wanted = std::min(count, remaining());
    std::uint64_t done = 0;
    while (done != wanted) {
        std::uint64_t got = read_blocks(buffer + done, wanted - done);
        if (got == 0) got = read_from_block(buffer + done, wanted - done);
        if (got == 0) break;
        done += got;
        m_position += got;
    }
    return done;
}

/// Reads blocks that are wanted whole to where they are wanted.
std::uint64_t verified_input_stream::read_blocks(std::uint8_t* buffer, std::uint64_t count) {
    const std::uint64_t first = m_position / block_size;
    if (m_position % block_size != 0 || count < m_blocks->length_of(first)) return 0;
    if (m_current && m_number == first) return 0;

    std::uint64_t whole = std::min(count, largest_read);
    if (m_position + whole != size_impl()) whole -= whole % block_size;
    const std::span<std::uint8_t> target(buffer, static_cast<std::size_t>(whole));
    std::span<std::uint8_t> left = target.first(read_stored(m_position, target));
    std::size_t checked = 0;
    for (std::uint64_t number = first; !left.empty(); ++number) {
        const std::size_t length = std::min(m_blocks->length_of(number), left.size());
        if (!m_blocks->check(number, left.first(length))) break;
        left = left.subspan(length);
        checked += length;
    }
    std::fill(target.begin() + static_cast<std::ptrdiff_t>(checked), target.end(), std::uint8_t{0});
    return checked;
}

/// Reads from one block, which is kept for the next time.
std::uint64_t verified_input_stream::read_from_block(std::uint8_t* buffer, std::uint64_t count) {
    const std::uint64_t number = m_position / block_size;
    if (!m_current || m_number != number) {
        m_current = load(number);
        m_number = number;
        if (!m_current) return 0;
    }
    const std::uint64_t offset = m_position % block_size;
    const std::uint64_t step = std::min(count, m_current->size() - offset);
    std::memcpy(buffer, m_current->data() + offset, static_cast<std::size_t>(step));
    return step;
}

std::shared_ptr<const verified_blocks::block> verified_input_stream::load(std::uint64_t number) {
    if (auto kept = m_blocks->recent(number)) return kept;
    auto bytes = std::make_shared<verified_blocks::block>(m_blocks->length_of(number));
    const std::size_t got = read_stored(number * block_size, *bytes);
    if (!m_blocks->check(number, std::span(*bytes).first(got))) return nullptr;
    m_blocks->keep(number, bytes);
    return bytes;
}

/// Fills the target as far as there are bytes.
std::size_t verified_input_stream::read_stored(std::uint64_t position,
                                               std::span<std::uint8_t> target) {
    if (m_stored->pos() != position && !m_stored->set_pos(position)) return 0;
    std::size_t done = 0;
    while (const std::uint64_t got =
               m_stored->read_impl(target.data() + done, target.size() - done)) {
        done += static_cast<std::size_t>(got);
    }
    return done;
}

std::uint64_t verified_input_stream::size_impl() const { return m_blocks->size(); }

std::uint64_t verified_input_stream::pos_impl() const { return m_position; }

void verified_input_stream::reset_impl() {
    m_stored->reset();
    m_position = 0;
}

bool verified_input_stream::set_pos_impl(std::uint64_t position) {
    if (!is_seekable()) return position == m_position;
    m_position = std::min(position, size_impl());
    return position == m_position;
}

} // namespace package

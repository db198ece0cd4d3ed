#include "fuzz/metered_stream.h"
#include "support/inflating_stream.h"

#include <algorithm>
#include <cstring>
#include <zlib.h>

// The inflating stream beside zlib itself. The first bytes choose how the stream is read, the rest
// is what it inflates.

namespace {

using namespace fuzz;

constexpr std::size_t choice_bytes = 24;
constexpr std::size_t ring = 32768;      // of the stream under test
constexpr std::size_t largest = 500'000; // content, since what takes its time is seldom run

struct inflated {
    bytes content;
    bool is_whole = false;
    bool breaks_off = false;
    bool has_blank_history = false; // a block ends where the ring is full: seeks give zeros there
};

inflated by_zlib(std::span<const std::uint8_t> packed, int window_bits) {
    inflated result;
    bytes room(ring);
    z_stream control{};
    inflateInit2(&control, window_bits);
    control.next_in = const_cast<Bytef*>(packed.data());
    control.avail_in = static_cast<uInt>(packed.size());
    int status = Z_OK;
    while (status == Z_OK && result.content.size() <= largest) {
        control.next_out = room.data();
        control.avail_out = ring;
        status = inflate(&control, Z_BLOCK);
        const auto got = static_cast<std::ptrdiff_t>(ring - control.avail_out);
        result.content.insert(result.content.end(), room.begin(), room.begin() + got);
        const bool at_block_end = (control.data_type & 128) != 0;
        result.has_blank_history |= at_block_end && result.content.size() % ring == 0;
    }
    const bool wrong_check = control.msg && std::strcmp(control.msg, "incorrect data check") == 0;
    result.is_whole = status == Z_STREAM_END || wrong_check;
    result.breaks_off = status == Z_BUF_ERROR;
    inflateEnd(&control);
    return result;
}

/// A seek to a chosen place and a read from there. A clone does the same, before or after it.
void read_somewhere(core::input_stream& stream, const inflated& expected, choices& choose) {
    const std::size_t size = expected.content.size();
    const std::uint64_t from = std::min<std::uint64_t>(choose(0xFFFFFF) % (size + 1), size);
    const std::uint64_t count = choose(0xFFFF);
    const auto copy = stream.clone();
    require(copy != nullptr, "a stream can be cloned");
    for (core::input_stream* reader : {&stream, copy.get()}) {
        require(reader->set_pos(from) && reader->pos() == from, "any position is within reach");
        const bytes part = reader->read_bytes(count);
        require(part.size() == std::min<std::uint64_t>(count, size - from), "all of it comes");
        require(expected.has_blank_history ||
                    std::equal(part.begin(), part.end(),
                               expected.content.begin() + static_cast<std::ptrdiff_t>(from)),
                "a part is that of the whole");
    }
}

} // namespace

void fuzz::take(std::span<const std::uint8_t> input) {
    if (input.size() < choice_bytes) return;
    choices choose(input.first(choice_bytes));
    const std::span<const std::uint8_t> packed = input.subspan(choice_bytes);
    const int window_bits = choose.of({-MAX_WBITS, MAX_WBITS, MAX_WBITS + 16, MAX_WBITS + 32});
    const std::uint64_t span = choose.of<std::uint64_t>({0, 1000, 20000, 1048576});
    const inflated expected = by_zlib(packed, window_bits);
    if (expected.content.size() > largest) return;
    const std::uint64_t piece = choose.of<std::uint64_t>({65536, 1, 7, 500});
    const auto fuel = std::make_shared<std::uint64_t>(1000 + 40 * packed.size() / piece);
    const bool has_ended = fenced([&] {
        support::ready_cloning_stream stream(metered_bytes(packed, piece, fuel), window_bits, span);
        require(stream.size() == (expected.is_whole ? expected.content.size() : 0), "size");
        if (!expected.is_whole) return;
        for (int i = 0; i != 3; ++i)
            read_somewhere(stream, expected, choose);
        stream.set_pos(0);
        require(read_all(stream, ring + 1) == expected.content, "the content is that of zlib");
    });
    require(has_ended || expected.breaks_off, "what does not break off comes to an end");
}

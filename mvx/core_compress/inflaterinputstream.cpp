#include "core_compress/inflaterinputstream.h"

#include <algorithm>
#include <memory>
#include <span>
#include <strings.h>
#include <utility>
#include <zlib.h>

// zlib is always run with Z_BLOCK, so that it stops at the end of each deflate block: only there
// can inflation restart. `total_in`, `total_out` and `buffer_len` move with zlib's own counters,
// and the buffer is a ring in which the 32 KiB of history before any point are found.

namespace core {

using internals_zlib::access_point;
using internals_zlib::CAccess;
using internals_zlib::control_block;

namespace {

constexpr std::size_t input_block = 16384;
constexpr std::size_t output_block = internals_zlib::inflated_copy::history_size;

// What zlib adds to data_type about the place where it stopped, beside a count of bits.
constexpr int stopped_at_block_end = 128;
constexpr int stopped_in_last_block = 64;
constexpr int unused_bits_mask = 7;

constexpr int byte_bits = 8;

/// Brings a control block to the start of a stream. One that zlib has initialised keeps its memory.
int start_inflation(z_stream& control, std::int32_t window_bits) {
    control.avail_in = 0;
    control.avail_out = 0;
    if (control.state != Z_NULL) return inflateReset2(&control, window_bits);
    control.zalloc = Z_NULL;
    control.zfree = Z_NULL;
    control.opaque = Z_NULL;
    return inflateInit2(&control, window_bits);
}

/// Empty if zlib refuses.
control_block make_control_block(std::int32_t window_bits) {
    control_block control(new z_stream{});
    return start_inflation(*control, window_bits) == Z_OK ? std::move(control) : nullptr;
}

control_block make_control_block_or_throw(std::int32_t window_bits) {
    control_block control = make_control_block(window_bits);
    if (!control) throw_logged("Infalter init failed.");
    return control;
}

/// The same place in another buffer; null stays null.
template <class Pointer>
Pointer rebased(Pointer place, const std::uint8_t* from, std::uint8_t* to) {
    return place == nullptr ? nullptr : to + (place - from);
}

} // namespace

void internals_zlib::end_inflation::operator()(z_stream_s* control) const noexcept {
    inflateEnd(control);
    delete control;
}

input_stream_ptr InflaterInputStream::create(input_stream_ptr inner_stream,
                                             std::int32_t window_bits, std::uint64_t span) {
    control_block control = make_control_block(window_bits);
    if (!control) return nullptr;
    return std::make_unique<make_smart_enabler<InflaterInputStream>>(
        std::move(control), std::move(inner_stream), window_bits, span);
}

InflaterInputStream::InflaterInputStream(input_stream_ptr inner_stream, std::int32_t bits,
                                         std::uint64_t point_span)
    : InflaterInputStream(make_control_block_or_throw(bits), std::move(inner_stream), bits,
                          point_span) {}

InflaterInputStream::InflaterInputStream(control_block control, input_stream_ptr inner_stream,
                                         std::int32_t bits, std::uint64_t point_span)
    : buffered_input_stream(std::move(inner_stream), output_block), stream(std::move(control)),
      access(std::make_shared<CAccess>()), span(point_span), input(input_block), window_bits(bits) {
    const bool rewindable = has_inner() && inner->is_seekable() && inner->pos() == 0;
    if (build_index(rewindable && bits == raw_window_bits)) reset();
}

InflaterInputStream::InflaterInputStream(const InflaterInputStream& source)
    : buffered_input_stream(source), stream(new z_stream(*source.stream)),
      // Points of an index in the making would reach two streams at once.
      access(source.index_complete ? source.access : std::make_shared<CAccess>(*source.access)),
      total_size(source.total_size), total_in(source.total_in), total_out(source.total_out),
      span(source.span), last_point_out(source.last_point_out), input_count(source.input_count),
      output_count(source.output_count), building_index(source.building_index),
      index_complete(source.index_complete), at_end(source.at_end), input(source.input),
      window_bits(source.window_bits) {
    // zlib's state stays with the source, which may be gone before this stream is: a control block
    // without one is refused by every function, and a seek gives it one of its own.
    stream->state = Z_NULL;
    stream->next_in = rebased(stream->next_in, source.input.data(), input.data());
    stream->next_out = rebased(stream->next_out, source.buffer.data(), buffer.data());
}

InflaterInputStream::~InflaterInputStream() = default;

input_stream_ptr InflaterInputStream::clone() const {
    return logged_clone([&]() -> input_stream_ptr {
        return std::make_unique<make_smart_enabler<InflaterInputStream>>(*this);
    });
}

bool InflaterInputStream::build_index(bool may_run_ahead) {
    const bool inflating = !index_complete && !at_end;
    while (inflating && !at_end) {
        // In construction this is the class's own fill, as is meant.
        if (!fill_buffer()) return false; // NOLINT(clang-analyzer-optin.cplusplus.VirtualCall)
        if (!at_end && std::exchange(may_run_ahead, false)) run_ahead();
    }
    if (inflating) total_size = total_out;
    building_index = false;
    index_complete = true;
    if (!first_pass.empty()) {
        start_replay();
    } else if (inflating) {
        reset();
    }
    return true;
}

// The first pass over sound data need not go block by block: behind the first block it inflates
// into larger pieces, and notes the same access points. Data that do not come to a sound end are
// gone through once more, block by block, for what is said of them and where the stream then
// stands.

void InflaterInputStream::run_ahead() {
    if (inflate_ahead()) {
        at_end = true;
        clear_buffer();
        if (total_out > internals_zlib::inflated_copy::largest_kept) first_pass.clear();
        return;
    }
    first_pass.clear();
    access->clear();
    inner->set_pos(0);
    start_inflation(*stream, window_bits);
    total_in = total_out = last_point_out = 0;
    clear_buffer();
}

bool InflaterInputStream::inflate_ahead() {
    const std::span<std::uint8_t> first_room = first_pass.room_behind(0);
    std::copy(buffer.begin(), buffer.end(), first_room.begin());
    for (;;) {
        refill_input();
        if (stream->avail_out == 0) {
            const std::span<std::uint8_t> room = first_pass.room_behind(total_out);
            stream->next_out = room.data();
            stream->avail_out = static_cast<uInt>(room.size());
        }
        const std::uint64_t out_before = total_out;
        const int status = inflate_some();
        if (status == Z_STREAM_END) return true;
        if (status != Z_OK) return false;
        // Block by block, a buffer that was full before this call would have been started anew.
        const bool block_is_full = total_out % buffer.size() == 0 && total_out != out_before;
        if (at_access_point()) add_point_ahead(block_is_full);
    }
}

void InflaterInputStream::add_point_ahead(bool block_is_full) {
    const auto history = first_pass.part(total_out - buffer.size(), buffer.size());
    access->add(total_out, total_in, stream->data_type & unused_bits_mask, history,
                block_is_full ? 0 : history.size());
    last_point_out = total_out;
}

/// Makes the first pass's bytes the next blocks, from the start.
void InflaterInputStream::start_replay() {
    total_out = 0;
    at_end = false;
    replay_block();
}

/// Leaves all as if the block had been inflated once more.
bool InflaterInputStream::replay_block() {
    start_block();
    const auto count =
        static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), total_size - total_out));
    const auto block = first_pass.part(total_out, count);
    std::copy(block.begin(), block.end(), buffer.begin());
    total_out += count;
    buffer_len = count;
    stream->next_out += count;
    stream->avail_out -= static_cast<uInt>(count);
    // The end is seen only behind a block with room left.
    at_end = stream->avail_out != 0;
    if (at_end) first_pass.clear();
    return true;
}

void InflaterInputStream::refill_input() {
    if (stream->avail_in != 0 || !has_inner()) return;
    const std::uint64_t got = inner->read_impl(input.data(), input.size());
    input_count += got;
    stream->avail_in = static_cast<uInt>(got);
    if (got != 0) stream->next_in = input.data();
}

void InflaterInputStream::start_block() {
    clear_buffer();
    stream->avail_out = static_cast<uInt>(buffer.size());
    stream->next_out = buffer.data();
}

int InflaterInputStream::inflate_some() {
    total_in += stream->avail_in;
    total_out += stream->avail_out;
    buffer_len += stream->avail_out;
    const int status = inflate(stream.get(), Z_BLOCK);
    total_in -= stream->avail_in;
    total_out -= stream->avail_out;
    buffer_len -= stream->avail_out;
    return status == Z_NEED_DICT ? Z_DATA_ERROR : status;
}

bool InflaterInputStream::at_access_point() const {
    if (!building_index || (stream->data_type & stopped_at_block_end) == 0) return false;
    // Behind the last block of wrapped data stands the check value, not another block.
    if (window_bits != raw_window_bits && (stream->data_type & stopped_in_last_block) != 0) {
        return false;
    }
    // One point in front of all output is enough, however many empty blocks stand there.
    return access->empty() || total_out - last_point_out > span;
}

bool InflaterInputStream::survives_failure(int status) {
    const char* message = stream->msg;
    error_logger{} << "Infalte status (" << status << "): " << message;
    // A wrong check value must not cost the data, and all of them have been produced by then.
    at_end = status == Z_DATA_ERROR && message != nullptr &&
             strcasecmp(message, "incorrect data check") == 0;
    return at_end;
}

bool InflaterInputStream::fill_buffer() {
    if (at_end) return false;
    if (!first_pass.empty()) return replay_block();
    if (building_index && window_bits == raw_window_bits && access->empty()) access->add_start();
    for (;;) {
        refill_input();
        // With the block full and the input spent zlib may still owe output, or the end.
        const bool last_try = stream->avail_out == 0 && stream->avail_in == 0;
        const std::uint64_t old_pos = buffer_pos;
        const std::uint64_t old_len = buffer_len;
        if (stream->avail_out == 0) start_block();

        const int status = inflate_some();
        if (status == Z_STREAM_END) {
            at_end = true;
            return true;
        }
        if (status == Z_MEM_ERROR || status == Z_DATA_ERROR || status == Z_STREAM_ERROR) {
            return survives_failure(status);
        }
        if (last_try && status == Z_BUF_ERROR) {
            buffer_pos = old_pos;
            buffer_len = old_len;
            stream->avail_out = 0;
            return false;
        }
        if (at_access_point()) {
            access->add(total_out, total_in, stream->data_type & unused_bits_mask, buffer,
                        stream->avail_out);
            last_point_out = total_out;
        }
        // Data that break off inside a block are asked for again and again: no other way leads out.
        if (stream->avail_out == 0) return true;
    }
}

void InflaterInputStream::restart_at(const access_point& point) {
    const std::uint64_t in_start = point.bits == 0 ? point.in : point.in - 1;
    inner->set_pos(in_start);
    clear_buffer();
    total_in = in_start;
    total_out = point.out;
    // Behind an access point there are bare deflate data, whatever the stream is wrapped in.
    start_inflation(*stream, raw_window_bits);
    if (point.bits != 0) {
        const int shared_byte = inner->read_uint8();
        inflatePrime(stream.get(), point.bits, shared_byte >> (byte_bits - point.bits));
    }
    inflateSetDictionary(stream.get(), point.window.data(), static_cast<uInt>(point.window.size()));
    // What follows the last block in the source is no part of the content.
    at_end = index_complete && point.out == total_size;
}

bool InflaterInputStream::seek_inner(std::uint64_t target) {
    if (!index_complete && !build_index() && !at_end) return false;
    if (access->empty() || !has_inner()) return false;

    first_pass.clear();
    const access_point& point = access->nearest(target);
    restart_at(point);
    for (std::uint64_t blocks = (target - point.out) / buffer.size() + 1; blocks != 0; --blocks) {
        fill_buffer();
    }
    // A source that gives less than it did before leaves the stream at the end of what it gave.
    const std::uint64_t block_start = total_out - buffer_len;
    const bool in_block = target >= block_start && target - block_start <= buffer_len;
    buffer_pos = in_block ? target - block_start : buffer_len;
    if (pos_impl() != target) assertion("check_offset == idx");
    return true;
}

/// Hands out whole blocks of a replay without the buffer, but for the last: that stays in it for a
/// short seek back. Returns how many bytes.
std::uint64_t InflaterInputStream::replay_into(std::uint8_t* target, std::uint64_t count) {
    if (first_pass.empty() || buffered_available() != 0) return 0;
    const std::uint64_t blocks = std::min(count, total_size - total_out) / buffer.size();
    if (blocks < 2) return 0;
    const auto direct = static_cast<std::size_t>((blocks - 1) * buffer.size());
    const auto bytes = first_pass.part(total_out, direct);
    std::copy(bytes.begin(), bytes.end(), target);
    total_out += direct;
    return direct;
}

std::uint64_t InflaterInputStream::read_impl(std::uint8_t* target, std::uint64_t count) {
    // Without an index the content has no size, and its view no end that a read could heed.
    const std::uint64_t wanted = index_complete ? std::min(count, remaining()) : 0;
    std::uint64_t total = 0;
    while (total != wanted && ensure_data()) {
        total += take_buffered(target + total, wanted - total);
        total += replay_into(target + total, wanted - total);
    }
    output_count += total;
    return total;
}

} // namespace core

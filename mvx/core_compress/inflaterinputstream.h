#pragma once

#include "core/bufferedinputstream.h"
#include "core_compress/inflatedcopy.h"
#include "core_compress/inflateraccess.h"

#include <cstdint>
#include <memory>
#include <vector>

struct z_stream_s;

namespace core {

namespace internals_zlib {

struct end_inflation {
    void operator()(z_stream_s* control) const noexcept;
};

/// Owner of a zlib control block, with or without a state behind it.
using control_block = std::unique_ptr<z_stream_s, end_inflation>;

} // namespace internals_zlib

/// The inflated content of a deflate stream, with its size known and any position within reach.
///
/// Construction inflates the whole source once and notes access points on the way; a seek goes back
/// to the nearest one and inflates forward from there. Bad data leave a stream of size 0; data that
/// break off inside a block are waited for without end.
///
/// What the first pass inflates is kept, up to 4 MiB, for a reader that goes through the content in
/// order: it need not be inflated again. A seek beyond the buffer lets go of it.
class InflaterInputStream : public buffered_input_stream {
public:
    /// Window bits of bare deflate data, with neither header nor check value.
    static constexpr std::int32_t raw_window_bits = -15;

    /// `bits` are zlib's window bits; `point_span` is the least distance of two access points in
    /// inflated bytes. Empty if zlib refuses; what the inner stream throws passes.
    static input_stream_ptr create(input_stream_ptr inner_stream, std::int32_t bits,
                                   std::uint64_t point_span);

    /// As create, but throws "Infalter init failed." if zlib refuses.
    InflaterInputStream(input_stream_ptr inner_stream, std::int32_t bits, std::uint64_t point_span);
    /// Takes a control block that zlib has initialised with the same window bits.
    InflaterInputStream(internals_zlib::control_block control, input_stream_ptr inner_stream,
                        std::int32_t bits, std::uint64_t point_span);
    ~InflaterInputStream() override;

    // input_stream
    /// The clone shares the access points. It can read what the buffer holds; to go on from there
    /// it must be sought first, since zlib's state stays with the source.
    input_stream_ptr clone() const override;
    std::uint64_t read_impl(std::uint8_t* target, std::uint64_t count) override;

    std::uint64_t size_impl() const override { return total_size; }

    std::uint64_t pos_impl() const override { return total_out - buffer_len + buffer_pos; }

protected:
    InflaterInputStream(const InflaterInputStream& source);

    // buffered_input_stream
    bool seek_inner(std::uint64_t target) override;
    bool fill_buffer() override;

private:
    bool build_index(bool may_run_ahead = false);
    void run_ahead();
    bool inflate_ahead();
    void add_point_ahead(bool block_is_full);
    void start_replay();
    bool replay_block();
    std::uint64_t replay_into(std::uint8_t* target, std::uint64_t count);
    void refill_input();
    void start_block();
    int inflate_some();
    bool at_access_point() const;
    bool survives_failure(int status);
    void restart_at(const internals_zlib::access_point& point);

    internals_zlib::control_block stream;
    std::shared_ptr<internals_zlib::CAccess> access;
    std::uint64_t total_size = 0;
    std::uint64_t total_in = 0;
    std::uint64_t total_out = 0;
    std::uint64_t span;
    std::uint64_t last_point_out = 0;
    std::uint64_t input_count = 0;  // bytes taken from the inner stream in all, for statistics
    std::uint64_t output_count = 0; // bytes handed to readers in all, for statistics
    bool building_index = true;
    bool index_complete = false;
    bool at_end = false;
    byte_buffer input;
    std::int32_t window_bits;
    internals_zlib::inflated_copy first_pass; // while it is replayed; a clone has none
};

} // namespace core

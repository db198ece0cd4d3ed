#pragma once

#include "core/inputstream.h"

#include <cstddef>
#include <cstdint>
#include <ioapi.h>
#include <vector>

namespace minizip {

/// Stands in front of a stream that minizip reads: minizip asks for single bytes and goes over each
/// record more than once, the stream is asked for large blocks. Positions are those of the view.
class read_ahead {
public:
    explicit read_ahead(core::input_stream& source_stream);

    /// Up to `count` bytes; fewer only where the stream gives no more.
    std::uint64_t read(std::uint8_t* target, std::uint64_t count) {
        // minizip asks for a byte at a time.
        if (count == 1 && in_block(position)) {
            *target = block[position++ - block_start];
            return 1;
        }
        return read_pieces(target, count);
    }

    /// What the stream's own set_pos gives, though the stream is not asked within the block.
    bool set_pos(std::uint64_t target);

    std::uint64_t pos() const noexcept { return position; }

private:
    std::uint64_t read_pieces(std::uint8_t* target, std::uint64_t count);

    /// Reads the block that holds the position. Blocks begin at multiples of their size, since
    /// minizip looks for the end of an archive backwards.
    bool fill();

    bool in_block(std::uint64_t place) const noexcept {
        return place >= block_start && place - block_start < block_len;
    }

    core::input_stream& stream;
    std::uint64_t position;
    std::vector<std::uint8_t> block;
    std::uint64_t block_start = 0;
    std::uint64_t block_len = 0;
    bool ends_in_block = false; // nothing more came behind what the block holds
};

/// What minizip's handle points to while an archive is listed. Afterwards minizip never follows it.
struct ro_stream {
    core::input_stream* stream; // not owned
    read_ahead* ahead;          // in front of it, as long as the listing takes
    bool note_seek;             // set to learn where the next seek from the start goes
    std::uint64_t noted_seek;
};

/// Fills the table with callbacks that read `handle` and never let an exception out.
void fill_ro_stream_filefunc64(::zlib_filefunc64_def& functions, ro_stream& handle) noexcept;

} // namespace minizip

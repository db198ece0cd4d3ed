#include "core_compress/ioapi_ro_stream_extension_impl.h"

#include "core/logandrethrow.h"

#include <algorithm>
#include <concepts>
#include <cstring>
#include <utility>

namespace minizip {

namespace {

constexpr std::size_t block_size = 65536;

constexpr long seek_done = 0;
constexpr long seek_refused = 1;
constexpr long seek_failed = -1;

ro_stream& stream_of(voidpf handle) { return *static_cast<ro_stream*>(handle); }

/// Runs a callback's work. minizip is C: an exception that passed through it would leak its memory.
template <class Result, std::invocable Work>
Result result_or(Result on_failure, Work&& work) noexcept {
    try {
        return core::log_and_rethrow(std::forward<Work>(work));
    } catch (...) {
        return on_failure;
    }
}

voidpf open_stream(voidpf opaque, const void* /*file_name*/, int /*mode*/) { return opaque; }

uLong read_stream(voidpf /*opaque*/, voidpf handle, void* buffer, uLong size) {
    return result_or(uLong{0}, [&]() -> uLong {
        return stream_of(handle).ahead->read(static_cast<std::uint8_t*>(buffer), size);
    });
}

uLong write_stream(voidpf /*opaque*/, voidpf /*handle*/, const void* /*buffer*/, uLong /*size*/) {
    return result_or(uLong{0}, [] {
        core::assertion("false");
        return uLong{0};
    });
}

ZPOS64_T tell_stream(voidpf /*opaque*/, voidpf handle) {
    return result_or(ZPOS64_T{0}, [&]() -> ZPOS64_T { return stream_of(handle).ahead->pos(); });
}

long seek_stream(voidpf /*opaque*/, voidpf handle, ZPOS64_T offset, int origin) {
    ro_stream& target = stream_of(handle);
    if (origin == ZLIB_FILEFUNC_SEEK_SET && std::exchange(target.note_seek, false)) {
        target.noted_seek = offset;
    }
    return result_or(seek_failed, [&] {
        const auto seek_to = [&](std::uint64_t position) {
            return target.ahead->set_pos(position) ? seek_done : seek_refused;
        };
        switch (origin) {
        case ZLIB_FILEFUNC_SEEK_SET:
            return seek_to(offset);
        case ZLIB_FILEFUNC_SEEK_CUR:
            return seek_to(target.ahead->pos() + offset);
        case ZLIB_FILEFUNC_SEEK_END: // the offset is ignored
            return seek_to(target.stream->size());
        default:
            return seek_failed;
        }
    });
}

int close_stream(voidpf /*opaque*/, voidpf /*handle*/) { return 0; }

int stream_error(voidpf /*opaque*/, voidpf /*handle*/) { return 0; }

} // namespace

read_ahead::read_ahead(core::input_stream& source_stream)
    : stream(source_stream), position(source_stream.pos()), block(block_size) {}

std::uint64_t read_ahead::read_pieces(std::uint8_t* target, std::uint64_t count) {
    std::uint64_t done = 0;
    while (done != count && (in_block(position) || fill())) {
        const std::uint64_t offset = position - block_start;
        const std::uint64_t step = std::min(count - done, block_len - offset);
        std::memcpy(target + done, block.data() + offset, static_cast<std::size_t>(step));
        position += step;
        done += step;
    }
    return done;
}

bool read_ahead::set_pos(std::uint64_t target) {
    if (in_block(target)) {
        position = target;
        return true;
    }
    const bool stands_there = stream.set_pos(target);
    position = stream.pos();
    return stands_there;
}

bool read_ahead::fill() {
    const std::uint64_t start = position - position % block_size;
    // minizip goes on asking behind the end, byte by byte, for as much as a record promises.
    if (ends_in_block && start == block_start) return false;
    ends_in_block = false;
    block_start = start;
    block_len = 0;
    if (!stream.set_pos(block_start)) return false;
    while (!in_block(position)) {
        const std::uint64_t got =
            stream.read_impl(block.data() + block_len, block_size - block_len);
        ends_in_block = got == 0;
        if (ends_in_block) return false;
        block_len += got;
    }
    return true;
}

void fill_ro_stream_filefunc64(::zlib_filefunc64_def& functions, ro_stream& handle) noexcept {
    functions.zopen64_file = open_stream;
    functions.zread_file = read_stream;
    functions.zwrite_file = write_stream;
    functions.ztell64_file = tell_stream;
    functions.zseek64_file = seek_stream;
    functions.zclose_file = close_stream;
    functions.zerror_file = stream_error;
    functions.opaque = &handle;
}

} // namespace minizip

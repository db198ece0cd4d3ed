#include "zip_peers.h"

#include "core_crypto/cryptohandles.h"

#include <algorithm>
#include <archive.h>
#include <archive_entry.h>
#include <array>
#include <unzip.h>
#include <zlib.h>

namespace bench {

void walk_by_minizip(const std::string& path, bool with_contents, proof* found) {
    const core::handle<void, unzClose> archive(unzOpen64(path.c_str()));
    std::array<char, 4096> name{};
    unz_file_info64 told;
    bytes content;
    for (int at = unzGoToFirstFile(archive.get()); at == UNZ_OK;
         at = unzGoToNextFile(archive.get())) {
        unzGetCurrentFileInfo64(archive.get(), &told, name.data(), name.size(), nullptr, 0, nullptr,
                                0);
        if (with_contents) {
            content.resize(told.uncompressed_size);
            unzOpenCurrentFile(archive.get());
            unzReadCurrentFile(archive.get(), content.data(),
                               static_cast<unsigned>(content.size()));
            require(unzCloseCurrentFile(archive.get()) == UNZ_OK, "minizip cannot read a member");
        }
        if (found != nullptr) found->add(name.data(), content);
    }
}

void walk_by_libarchive(const std::string& path, bool with_contents, proof* found) {
    const core::handle<archive, archive_read_free> reader(archive_read_new());
    archive_read_support_format_zip(reader.get());
    archive_read_open_filename(reader.get(), path.c_str(), 16384);
    archive_entry* entry = nullptr;
    bytes content;
    while (archive_read_next_header(reader.get(), &entry) == ARCHIVE_OK) {
        const char* name = archive_entry_pathname(entry);
        if (with_contents) {
            content.resize(static_cast<std::size_t>(archive_entry_size(entry)));
            const la_ssize_t got = archive_read_data(reader.get(), content.data(), content.size());
            require(got == archive_entry_size(entry), "libarchive cannot read a member");
        }
        if (found != nullptr) found->add(name, content);
    }
}

namespace {

constexpr std::size_t window_size = 32768;

/// zlib at the start of bare deflate data.
struct inflation {
    inflation(const bytes& packed, std::size_t place) {
        inflateInit2(&control, -15);
        control.next_in = const_cast<Bytef*>(packed.data() + place);
        control.avail_in = static_cast<uInt>(packed.size() - place);
    }

    inflation(const inflation&) = delete;
    inflation& operator=(const inflation&) = delete;

    ~inflation() { inflateEnd(&control); }

    void aim_at(std::uint8_t* target, std::size_t count) noexcept {
        control.next_out = target;
        control.avail_out = static_cast<uInt>(count);
    }

    void fill(std::uint8_t* target, std::size_t count) {
        aim_at(target, count);
        while (control.avail_out != 0)
            require(inflate(&control, Z_NO_FLUSH) >= Z_OK, "zlib cannot inflate");
    }

    z_stream control{};
};

} // namespace

void inflate_whole(const bytes& packed, bytes& content) {
    inflation whole(packed, 0);
    whole.aim_at(content.data(), content.size());
    require(inflate(&whole.control, Z_FINISH) == Z_STREAM_END, "zlib cannot inflate");
}

std::vector<restart> restarts_of(const bytes& packed, std::size_t size, std::size_t span) {
    // What zlib adds to data_type about the place where it stopped, beside a count of bits.
    constexpr int block_end = 128;
    constexpr int last_block = 64;
    constexpr int unused_bits_mask = 7;
    bytes content(size);
    inflation whole(packed, 0);
    whole.aim_at(content.data(), size);
    std::vector<restart> found(1);
    while (inflate(&whole.control, Z_BLOCK) == Z_OK) {
        const int stop = whole.control.data_type;
        const std::size_t out = whole.control.total_out;
        if ((stop & (block_end | last_block)) != block_end) continue;
        if (out - found.back().out < span) continue;
        const std::uint8_t* end = content.data() + out;
        found.push_back({out, whole.control.total_in, stop & unused_bits_mask,
                         bytes(end - std::min(out, window_size), end)});
    }
    return found;
}

void inflate_at(const bytes& packed, const std::vector<restart>& restarts, std::size_t place,
                bytes& target) {
    const auto behind =
        std::upper_bound(restarts.begin(), restarts.end(), place,
                         [](std::size_t goal, const restart& one) { return goal < one.out; });
    const restart& start = *std::prev(behind);
    inflation from_there(packed, start.in);
    if (start.bits != 0) {
        inflatePrime(&from_there.control, start.bits, packed[start.in - 1] >> (8 - start.bits));
    }
    inflateSetDictionary(&from_there.control, start.window.data(),
                         static_cast<uInt>(start.window.size()));
    std::array<std::uint8_t, window_size> skipped;
    for (std::size_t left = place - start.out; left != 0;) {
        const std::size_t step = std::min(left, skipped.size());
        from_there.fill(skipped.data(), step);
        left -= step;
    }
    from_there.fill(target.data(), target.size());
}

} // namespace bench

#include "archive_writer.h"

#include "core/inputstream.h"
#include "core_crypto/cryptohandles.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <ioapi.h>
#include <optional>
#include <system_error>
#include <vector>
#include <zip.h>
#include <zlib.h>

// minizip lays down the records; compression is done before, since whether it saves anything
// decides what is written. minizip reaches the file through callbacks that shift all positions.

namespace tool {

struct archive_writer::sink {
    core::handle<std::FILE, std::fclose> file;
    std::uint64_t offset = 0;
    int error = 0; // the first one

    template <class Result>
    Result noted(Result result, bool good) {
        if (!good && error == 0) error = errno != 0 ? errno : EIO;
        return result;
    }
};

namespace {

constexpr uLong utf8_name_flag = 0x800;
constexpr uLong version_made_by = 20; // of the format, on no system in particular
constexpr int raw_window_bits = -15;
constexpr int most_memory = 9;
constexpr std::size_t end_record_size = 22;
constexpr std::uint32_t wide_elsewhere = 0xFFFFFFFF;
constexpr std::uint64_t most_counted = 0xFFFF; // which itself means that the count is elsewhere

template <class Sink>
zlib_filefunc64_def callbacks_of(Sink& sink) {
    zlib_filefunc64_def functions{};
    functions.opaque = &sink;
    functions.zopen64_file = [](voidpf opaque, const void*, int) { return opaque; };
    functions.zread_file = [](voidpf, voidpf, void*, uLong) -> uLong { return 0; };
    functions.zwrite_file = [](voidpf, voidpf handle, const void* bytes, uLong size) -> uLong {
        auto& target = *static_cast<Sink*>(handle);
        const uLong done = std::fwrite(bytes, 1, size, target.file.get());
        return target.noted(done, done == size);
    };
    functions.ztell64_file = [](voidpf, voidpf handle) -> ZPOS64_T {
        auto& target = *static_cast<Sink*>(handle);
        const off_t position = ftello(target.file.get());
        return target.noted(static_cast<std::uint64_t>(position) - target.offset, position >= 0);
    };
    functions.zseek64_file = [](voidpf, voidpf handle, ZPOS64_T position, int origin) -> long {
        auto& target = *static_cast<Sink*>(handle);
        const bool from_start = origin == ZLIB_FILEFUNC_SEEK_SET;
        const int whence = from_start                         ? SEEK_SET
                           : origin == ZLIB_FILEFUNC_SEEK_CUR ? SEEK_CUR
                                                              : SEEK_END;
        const auto goal = static_cast<off_t>(position + (from_start ? target.offset : 0));
        const int failed = fseeko(target.file.get(), goal, whence);
        return target.noted(failed, failed == 0);
    };
    functions.zclose_file = [](voidpf, voidpf) { return 0; };
    functions.zerror_file = [](voidpf, voidpf handle) {
        return static_cast<Sink*>(handle)->error != 0 ? 1 : 0;
    };
    return functions;
}

/// The deflated content, if it is smaller than the content.
std::optional<std::vector<std::uint8_t>> deflated(std::span<const std::uint8_t> content,
                                                  int level) {
    if (content.empty() || level == 0) return std::nullopt;
    z_stream control{};
    if (deflateInit2(&control, level, Z_DEFLATED, raw_window_bits, most_memory,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::bad_alloc();
    }
    std::vector<std::uint8_t> result(content.size() - 1);
    control.next_in = const_cast<Bytef*>(content.data());
    control.avail_in = static_cast<uInt>(content.size());
    control.next_out = result.data();
    control.avail_out = static_cast<uInt>(result.size());
    const bool smaller = deflate(&control, Z_FINISH) == Z_STREAM_END;
    result.resize(result.size() - control.avail_out);
    deflateEnd(&control);
    return smaller ? std::optional(std::move(result)) : std::nullopt;
}

bool is_ascii(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char byte) { return (byte & 0x80) == 0; });
}

} // namespace

void archive_writer::close_archive::operator()(void* archive) const noexcept {
    zipClose(archive, nullptr);
}

archive_writer::archive_writer(int number, std::uint64_t offset, std::uint32_t dos_date)
    : m_sink(std::make_unique<sink>()), m_dos_date(dos_date) {
    const int own_number = fcntl(number, F_DUPFD_CLOEXEC, 3);
    if (own_number >= 0) m_sink->file.reset(fdopen(own_number, "r+b"));
    if (!m_sink->file) throw std::system_error(errno, std::generic_category());
    m_sink->offset = offset;
    require(fseeko(m_sink->file.get(), static_cast<off_t>(offset), SEEK_SET) == 0);
    zlib_filefunc64_def functions = callbacks_of(*m_sink);
    // The path goes to a callback that does not look at it.
    m_archive.reset(zipOpen2_64("", APPEND_STATUS_CREATE, nullptr, &functions));
    require(m_archive != nullptr);
}

archive_writer::~archive_writer() = default;

void archive_writer::require(bool done) const {
    if (done && m_sink->error == 0) return;
    const int error = m_sink->error != 0 ? m_sink->error : errno;
    throw std::system_error(error != 0 ? error : EIO, std::generic_category());
}

void archive_writer::add(const std::string& name, std::span<const std::uint8_t> content,
                         int level) {
    const std::optional<std::vector<std::uint8_t>> smaller = deflated(content, level);
    const std::span<const std::uint8_t> stored = smaller ? *smaller : content;
    zip_fileinfo info{};
    info.dosDate = m_dos_date;
    require(zipOpenNewFileInZip4_64(m_archive.get(), name.c_str(), &info, nullptr, 0, nullptr, 0,
                                    nullptr, smaller ? Z_DEFLATED : 0, smaller ? level : 0, 1,
                                    raw_window_bits, most_memory, Z_DEFAULT_STRATEGY, nullptr, 0,
                                    version_made_by, is_ascii(name) ? 0 : utf8_name_flag,
                                    0) == ZIP_OK);
    require(zipWriteInFileInZip(m_archive.get(), stored.data(),
                                static_cast<unsigned>(stored.size())) == ZIP_OK);
    const uLong check_value = crc32_z(0, content.data(), content.size());
    require(zipCloseFileInZipRaw64(m_archive.get(), content.size(), check_value) == ZIP_OK);
    ++m_members;
}

// The end of an archive, and what zip64 puts in front of it:
//
//     end record          10  2  members        12  4  size of the directory    16  4  its offset
//     zip64 end record    24  8  members on this disk, members in all, size, offset
//     zip64 locator        8  8  offset of the zip64 end record

/// minizip counts the members in 16 bits, and in 64 only if the directory lies beyond 4 GiB. Other
/// readers refuse an archive that holds more than it counts.
void archive_writer::add_wide_counts() {
    std::FILE* const file = m_sink->file.get();
    std::array<std::uint8_t, end_record_size> end{};
    require(fseeko(file, -static_cast<off_t>(end.size()), SEEK_END) == 0);
    const off_t end_place = ftello(file);
    require(end_place >= 0 && std::fread(end.data(), end.size(), 1, file) == 1);
    const auto stated = [&](std::size_t offset) {
        return core::decode<std::uint32_t>(std::span(end).subspan(offset, 4),
                                           core::encoding_little_endian);
    };
    if (stated(16) == wide_elsewhere) return;

    std::vector<std::uint8_t> wide;
    const auto put = [&](std::uint64_t value, int width) {
        for (int i = 0; i != width; ++i)
            wide.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    };
    put(0x06064B50, 4);
    put(44, 8); // bytes that follow in this record
    put(45, 2); // the format's version with zip64, by whom and for whom
    put(45, 2);
    put(0, 8); // disks
    put(m_members, 8);
    put(m_members, 8);
    put(stated(12), 8);
    put(stated(16), 8);
    put(0x07064B50, 4);
    put(0, 4);
    put(static_cast<std::uint64_t>(end_place) - m_sink->offset, 8);
    put(1, 4);
    wide.insert(wide.end(), end.begin(), end.end());
    require(fseeko(file, end_place, SEEK_SET) == 0);
    require(std::fwrite(wide.data(), wide.size(), 1, file) == 1);
}

void archive_writer::finish() {
    require(zipClose(m_archive.release(), nullptr) == ZIP_OK);
    if (m_members >= most_counted) add_wide_counts();
    require(std::fflush(m_sink->file.get()) == 0);
}

} // namespace tool

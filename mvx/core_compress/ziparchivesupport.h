#pragma once

#include "core_compress/ioapi_ro_stream_extension_impl.h"

#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <type_traits>
#include <unzip.h>

// minizip's plain structures as values that own what they hold, and what minizip itself lacks.

namespace minizip {

namespace internals {

/// Owns one C structure on the heap, where its address stays the same for a C library to keep.
/// A copy duplicates the structure byte by byte; a moved-from object holds none.
template <class T>
class __struct_wrapper__ { // NOLINT(bugprone-reserved-identifier): the name is settled
    static_assert(std::is_trivially_copyable_v<T>);

public:
    __struct_wrapper__() : value(std::make_unique<T>()) {}

    __struct_wrapper__(const __struct_wrapper__& other)
        : value(other.value ? std::make_unique<T>(*other.value) : nullptr) {}

    __struct_wrapper__(__struct_wrapper__&& other) noexcept = default;

    virtual ~__struct_wrapper__() = default;

    T* get() noexcept { return value.get(); }

    const T* get() const noexcept { return value.get(); }

private:
    std::unique_ptr<T> value;
};

/// minizip's record of a member, with what the central directory says beyond it.
struct member_record : ::unz_file_info64 {
    bool encrypted() const noexcept { return (flag & 1) != 0; }

    std::uint64_t disk_offset; // of the local header, in the source stream
};

} // namespace internals

// The structures that only minizip's other entry points take.
using unz_file_info = internals::__struct_wrapper__<::unz_file_info>;
using unz_file_pos = internals::__struct_wrapper__<::unz_file_pos>;
using unz_global_info = internals::__struct_wrapper__<::unz_global_info>;
using unz_global_info64 = internals::__struct_wrapper__<::unz_global_info64>;
using unz_zlib_filefunc_def = internals::__struct_wrapper__<::zlib_filefunc_def>;
using unz_zlib_filefunc64_32_def = internals::__struct_wrapper__<::zlib_filefunc64_32_def>;

using unz_ourstream_t = internals::__struct_wrapper__<ro_stream>;
using unz_zlib_filefunc64_def = internals::__struct_wrapper__<::zlib_filefunc64_def>;

/// A member's place as minizip gives it.
class unz64_file_pos : public internals::__struct_wrapper__<::unz64_file_pos> {
public:
    /// Offset of its central record, not counting bytes in front of the archive.
    std::uint64_t pos_in_zip_directory() const noexcept { return get()->pos_in_zip_directory; }
};

/// What the central directory says about a member.
class unz_file_info64 : public internals::__struct_wrapper__<internals::member_record> {
public:
    /// Whether the name is UTF-8.
    bool utf8_name() const noexcept { return (get()->flag & 0x800) != 0; }

    std::uint32_t dos_date() const noexcept { return static_cast<std::uint32_t>(get()->dosDate); }

    std::uint64_t uncompressed_size() const noexcept { return get()->uncompressed_size; }

    std::uint64_t size_filename() const noexcept { return get()->size_filename; }

    /// Reads the member's central record at `record_pos` for what minizip leaves out: the local
    /// header's offset, and the sizes and the offset that a zip64 extra field holds. `prefix` is
    /// the count of bytes in front of the archive. False if no whole record stands there.
    bool complete(read_ahead& archive, std::uint64_t record_pos, std::uint64_t prefix);
};

/// An archive that minizip has open, shared by all who copied it and closed with the last of them.
using archive_handle = std::shared_ptr<void>;

/// Opens the archive that the callbacks lead to. Empty if it is none.
archive_handle open_archive(unz_zlib_filefunc64_def& functions);

/// The fields of a DOS date, daylight saving left open. Empty if it is no date.
std::optional<std::tm> dosdate_to_tm(std::uint32_t dos_date);

} // namespace minizip

#include "core/winapifileinputstream.h"

#include "core/logandrethrow.h"
#include "core/text.h"

#include <algorithm>
#include <cerrno>
#include <optional>

namespace core {

CWApiFileInputStream::CWApiFileInputStream(const std::wstring& file_path) : path(file_path) {
    open();
}

CWApiFileInputStream::CWApiFileInputStream(const CWApiFileInputStream& source)
    : input_stream(source), path(source.path) {
    if (source.handle.is_open()) {
        int error = 0;
        handle = source.handle.duplicate(error);
        if (error != 0) {
            log_error_number(") open failed:", error);
        } else {
            learn_size();
            file_size = std::min(file_size, source.file_size); // growth stays unseen
        }
    }
    if (!handle.is_open()) { // as any stream that is not open: empty, and spent
        begin = 0;
        end.reset();
        return;
    }
    const std::uint64_t wanted = source.pos();
    if (pos() != wanted && !set_pos(wanted)) {
        assertion("false");
        error_logger{} << "Failed to seek in file.";
    }
}

CWApiFileInputStream::~CWApiFileInputStream() = default;

void CWApiFileInputStream::open() {
    const std::optional<std::string> encoded = encode_path(path);
    const int error = encoded ? handle.open(*encoded) : EILSEQ;
    if (error != 0) {
        log_error_number(") open failed:", error);
        return;
    }
    learn_size();
}

void CWApiFileInputStream::learn_size() {
    const file_descriptor::outcome length = handle.size();
    if (length.error == 0) {
        file_size = length.value;
        return;
    }
    handle.close();
    log_error_number(") get size failed:", length.error);
}

void CWApiFileInputStream::log_error_number(const char* words, int error) const {
    error_logger{} << "File (" << path << words << error;
}

CWApiFileInputStream::file_pointer
CWApiFileInputStream::set_file_pointer(std::uint64_t position) noexcept {
    m_position = position;
    return file_pointer(position);
}

input_stream_ptr CWApiFileInputStream::clone() const {
    return logged_clone([&]() -> input_stream_ptr {
        return std::make_unique<make_smart_enabler<CWApiFileInputStream>>(*this);
    });
}

std::uint64_t CWApiFileInputStream::read_impl(std::uint8_t* buffer, std::uint64_t count) {
    if (!handle.is_open()) return 0;
    const std::uint64_t wanted = std::min(count, remaining());
    if (wanted == 0) return 0;
    const file_descriptor::outcome got = handle.read_at(buffer, wanted, m_position);
    if (got.error != 0) {
        error_logger{} << "File input stream read failed: " << got.error;
        return 0;
    }
    m_position += got.value;
    return got.value;
}

// A low half of all ones counts as a failed call, though it is an ordinary position here; the
// number that is logged with it is 0.

std::uint64_t CWApiFileInputStream::pos_impl() const {
    if (!handle.is_open()) return size();
    const file_pointer current(m_position);
    if (!current.failed()) return current.joined();
    error_logger{} << "File input stream set pos failed: " << 0;
    assertion("false");
    return size();
}

bool CWApiFileInputStream::set_pos_impl(std::uint64_t position) {
    if (!handle.is_open()) return false;
    if (set_file_pointer(std::min(position, file_size)).failed()) {
        error_logger{} << "File input stream set pos failed: " << 0;
        assertion("false");
    }
    return position == pos_impl();
}

std::uint64_t CWApiFileInputStream::skip(std::uint64_t count) {
    if (!handle.is_open()) return 0;
    const std::uint64_t distance = std::min(count, remaining());
    if (distance == 0) return 0;
    if (!set_file_pointer(m_position + distance).failed()) return distance;
    error_logger{} << "File input stream skip failed: " << 0;
    return 0;
}

} // namespace core

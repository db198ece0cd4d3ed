#include "morvanticshared/packageinputstream.h"

#include "morvanticshared/packageverification.h"

#include <algorithm>
#include <utility>

namespace package {

namespace {

/// A clone of what there is, nothing for nothing.
template <class Owner>
Owner cloned(const Owner& source) {
    if (!source) return nullptr;
    Owner copy = source->clone();
    if (!copy) throw core::exception("Failed to clone inner stream.");
    return copy;
}

} // namespace

CPackageInputStream::CPackageInputStream(core::input_stream_ptr stream,
                                         const std::wstring& key_path)
    : m_stream(std::move(stream)) {
    if (!m_stream) return;
    verification result = verify_package(*m_stream, key_path);
    m_header = std::move(result.header);
    core::input_stream_ptr stored = std::exchange(m_stream, nullptr);
    if (result.fault != fault_none) return;
    m_stream = core::log_and_swallow([&] { return payload_stream(std::move(stored), *m_header); });
}

CPackageInputStream::CPackageInputStream(const CPackageInputStream& source) : input_stream(source) {
    core::log_and_rethrow([&] {
        m_header = cloned(source.m_header);
        m_stream = cloned(source.m_stream);
    });
}

CPackageInputStream::~CPackageInputStream() = default;

bool CPackageInputStream::reread_header() {
    if (!m_stream) return false;
    m_stream->reset();
    m_header = read_header(*m_stream);
    return m_header != nullptr;
}

core::input_stream_ptr CPackageInputStream::clone() const {
    return core::logged_clone([&]() -> core::input_stream_ptr {
        return std::make_unique<core::make_smart_enabler<CPackageInputStream>>(*this);
    });
}

bool CPackageInputStream::is_seekable() const { return m_stream && m_stream->is_seekable(); }

std::uint64_t CPackageInputStream::read_impl(std::uint8_t* buffer, std::uint64_t count) {
    // The view of this stream is unknown to the inner one: a member ends where its view does.
    return m_stream ? m_stream->read_impl(buffer, std::min(count, remaining())) : 0;
}

std::uint64_t CPackageInputStream::size_impl() const { return m_stream ? m_stream->size() : 0; }

std::uint64_t CPackageInputStream::pos_impl() const { return m_stream ? m_stream->pos() : 0; }

void CPackageInputStream::reset_impl() {
    if (m_stream) m_stream->reset();
}

bool CPackageInputStream::set_pos_impl(std::uint64_t position) {
    return m_stream && m_stream->set_pos(position);
}

} // namespace package

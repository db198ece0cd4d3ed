#include "morvanticshared/packageinputstream.h"

#include "morvanticshared/packageverification.h"
#include "morvanticshared/verifiedinputstream.h"

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
    core::input_stream_ptr stored = std::exchange(m_stream, nullptr);
    auto blocks = core::log_and_swallow([] { return std::make_shared<verified_blocks>(); });
    if (!blocks) return;
    verification result = verify_package(*stored, key_path, blocks.get());
    m_header = std::move(result.header);
    if (result.fault != fault_none) return;
    m_blocks = std::move(blocks);
    m_stream = core::log_and_swallow([&] {
        stored = std::make_unique<verified_input_stream>(std::move(stored), m_blocks);
        return payload_stream(std::move(stored), *m_header);
    });
}

CPackageInputStream::CPackageInputStream(const CPackageInputStream& source)
    : input_stream(source), m_blocks(source.m_blocks) {
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
    if (!m_stream) return 0;
    // The view of this stream is unknown to the inner one: a member ends where its view does.
    const std::uint64_t wanted = std::min(count, remaining());
    const std::uint64_t refusals = m_blocks->refusals();
    const std::uint64_t got = m_stream->read_impl(buffer, wanted);
    if (got != wanted) throw_if_refused_since(refusals);
    return got;
}

/// The streams in between take a refused block for the end of the data, so it is told of here.
void CPackageInputStream::throw_if_refused_since(std::uint64_t refusals) const {
    if (m_blocks->refusals() == refusals) return;
    const char* const message = "Package changed after verification.";
    if (m_blocks->take_unreported()) core::throw_logged(message);
    throw core::exception(message);
}

std::uint64_t CPackageInputStream::size_impl() const { return m_stream ? m_stream->size() : 0; }

std::uint64_t CPackageInputStream::pos_impl() const { return m_stream ? m_stream->pos() : 0; }

void CPackageInputStream::reset_impl() {
    if (m_stream) m_stream->reset();
}

bool CPackageInputStream::set_pos_impl(std::uint64_t position) {
    if (!m_stream) return false;
    const std::uint64_t refusals = m_blocks->refusals();
    const bool stands_there = m_stream->set_pos(position);
    if (!stands_there) throw_if_refused_since(refusals);
    return stands_there;
}

} // namespace package

#pragma once

#include "core/inputstream.h"
#include "morvanticshared/packageheader.h"
#include "morvanticshared/verifiedblocks.h"

#include <memory>
#include <string>

namespace package {

/// The payload of a package, as a stream of its own. The constructor reads the whole file once and
/// checks it; a package that fails any check is an empty stream of size 0, for good, and that alone
/// tells of it. One thread at a time.
///
/// Nothing is handed on but what was verified. A read or a seek that meets a part of the file which
/// changed since then, or is no longer there, throws core::exception "Package changed after
/// verification.", logged once for each 16,384 bytes of payload. That holds for all clones.
class CPackageInputStream : public core::input_stream {
public:
    /// Takes the stream of the whole file, and the path of the file with the RSA public key as PEM,
    /// which is read here and never again.
    CPackageInputStream(core::input_stream_ptr stream, const std::wstring& key_path);
    ~CPackageInputStream() override;

    /// Reads a header anew from where position 0 now is; whether there is one.
    bool reread_header();

    // core::input_stream
    core::input_stream_ptr clone() const override;
    bool is_seekable() const override;
    std::uint64_t read_impl(std::uint8_t* buffer, std::uint64_t count) override;
    std::uint64_t size_impl() const override;
    std::uint64_t pos_impl() const override;
    void reset_impl() override;
    bool set_pos_impl(std::uint64_t position) override;

protected:
    /// Throws, logged, if one of the parts cannot be cloned.
    CPackageInputStream(const CPackageInputStream& source);

private:
    void throw_if_refused_since(std::uint64_t refusals) const;

    std::unique_ptr<CHeader> m_header;
    std::shared_ptr<verified_blocks> m_blocks; // null if there is no payload
    core::input_stream_ptr m_stream;           // destroyed first
};

} // namespace package

#pragma once

#include "core/inputstream.h"
#include "core/platform.h"

#include <string>

namespace core {

/// Reads a file of the file system. A file that cannot be opened is an empty stream: the failure
/// stands in the log, nothing throws. The size is fixed at open.
class CWApiFileInputStream : public input_stream {
public:
    explicit CWApiFileInputStream(const std::wstring& file_path);
    ~CWApiFileInputStream() override;

    // input_stream
    /// Reads the very file that this stream opened, even if its name now means another one.
    input_stream_ptr clone() const override;

    bool is_seekable() const override { return true; }

    std::uint64_t skip(std::uint64_t count) override;
    std::uint64_t read_impl(std::uint8_t* buffer, std::uint64_t count) override;

    std::uint64_t size_impl() const override { return file_size; }

    std::uint64_t pos_impl() const override;
    bool set_pos_impl(std::uint64_t position) override;

protected:
    CWApiFileInputStream(const CWApiFileInputStream& source);

private:
    /// A position in the two halves in which it is judged: a low half of all ones means failure.
    struct file_pointer {
        explicit file_pointer(std::uint64_t position) noexcept
            : low(static_cast<std::uint32_t>(position)),
              high(static_cast<std::uint32_t>(position >> 32)) {}

        bool failed() const noexcept { return low == 0xFFFFFFFF; }

        std::uint64_t joined() const noexcept { return std::uint64_t{high} << 32 | low; }

        std::uint32_t low;
        std::uint32_t high;
    };

    void open();
    void learn_size();
    void log_error_number(const char* words, int error) const;
    file_pointer set_file_pointer(std::uint64_t position) noexcept;

    std::wstring path;
    file_descriptor handle;
    std::uint64_t file_size = 0;
    std::uint64_t m_position = 0; // the descriptor's own offset stays unused
};

} // namespace core

#pragma once

#include "core/inputstream.h"
#include "morvanticshared/packagefault.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace package {

/// Every package begins with a header of so many bytes; the payload follows.
inline constexpr std::size_t MVE_PACKAGE_HEADER_SIZE = 1024;

/// The words a header may begin with. All behave alike.
inline constexpr std::array<std::string_view, 4> package_kinds = {"MORVANTIC", "DOWNGRADE",
                                                                  "LATTICEDB", "LANGUAGES"};

/// How the payload is stored. The numbers are the format's own.
enum encryption_kind : std::uint32_t {
    encryption_none = 1024,
    encryption_aes_128 = 512, // CFB, as the next two
    encryption_aes_192 = 8096,
    encryption_aes_256 = 16192,
};

/// Length of the AES key in bytes, 0 for a payload in clear; empty for an unknown type.
std::optional<std::size_t> key_size_of(std::uint32_t encryption_type) noexcept;

bool is_package_kind(std::string_view word) noexcept;

/// A day and the number of the package on that day.
struct package_stamp {
    std::uint16_t year = 0;
    std::uint16_t month = 0;
    std::uint16_t day = 0;
    std::uint16_t sequence = 0;
    bool valid = false;
};

/// Reads "YYYY-MM-DD-NN". Text of another shape gives 0xFFFF in all four numbers. A stamp of the
/// right shape keeps its numbers, and is valid from the year 2017 on, up to month 12 and day 31.
package_stamp parse_stamp(std::string_view text) noexcept;

/// The canonical text, empty for an invalid stamp.
std::string stamp_text(const package_stamp& stamp);

/// Whether the text has the shape of a stamp. Looks at no range.
bool is_valid_stamp_text(std::string_view text) noexcept;

/// Four numbers that the engine stores and never interprets.
struct package_version {
    std::uint32_t version_part_4 = 0;
    std::uint8_t version_part_3 = 0;
    std::uint8_t version_part_2 = 0;
    std::uint16_t version_part_1 = 0;
};

namespace internals {

/// The part of a header that depends on the header's version.
class versioned_header {
public:
    versioned_header() = default;
    versioned_header& operator=(const versioned_header&) = delete;
    virtual ~versioned_header();

    virtual std::unique_ptr<versioned_header> clone() const = 0;

    /// Length of the AES key in bytes. 0 for a payload in clear, and for an unknown type.
    virtual std::size_t key_size() const = 0;

protected:
    versioned_header(const versioned_header&) = default;
};

class header_ver_1 : public versioned_header {
public:
    ~header_ver_1() override;

    // versioned_header
    /// The four version parts stay behind: only the header first read answers them.
    std::unique_ptr<versioned_header> clone() const override;
    std::size_t key_size() const override;

    package_stamp stamp;
    std::uint16_t version_part_1 = 0;
    std::uint8_t version_part_2 = 0;
    std::uint8_t version_part_3 = 0;
    std::uint32_t version_part_4 = 0;
    std::uint32_t aux_value = 0;
    std::uint32_t encryption_type = 0;
    std::vector<std::uint8_t> signature;
    std::string trailer_text;
};

} // namespace internals

/// A package's header. One that was read has version 1; one built empty has none, and answers its
/// accessors with nothing. One thread at a time.
class CHeader {
public:
    CHeader() = default;

    /// For those who make packages. What a reader would refuse is found by header_block().
    CHeader(std::string kind, const package_stamp& stamp, std::uint32_t encryption_type,
            const package_version& version = {}, std::uint32_t aux_value = 0);

    CHeader(const CHeader&) = delete;
    CHeader& operator=(const CHeader&) = delete;
    virtual ~CHeader();

    /// A copy without its kind and its version parts: only the header first read answers them.
    std::unique_ptr<CHeader> clone() const;

    std::string kind() const { return m_kind; }

    package_stamp stamp() const;
    std::string stamp_text() const;

    /// All bits set if the header has no version.
    package_version version_parts() const;
    std::uint32_t aux_value() const;
    std::uint32_t encryption_type() const;
    std::vector<std::uint8_t> signature() const;
    std::string trailer_text() const;

    // Key and IV of an encrypted payload, derived from kind and stamp alone: 16, 24 or 32 bytes by
    // the encryption, and 16. Zeros for an invalid stamp, and if libcrypto fails. Empty for a
    // payload in clear. A clone, which has no kind, derives others.
    std::vector<std::uint8_t> package_key() const;
    std::vector<std::uint8_t> package_iv() const;

    /// Takes 160, 224, 256, 384 or 512 bytes; any other length changes nothing and gives false.
    bool set_signature(const std::vector<std::uint8_t>& bytes);
    bool set_trailer_text(const std::string& text);

    /// Writes the header without its version parts and returns the count of bytes, 0 if it does not
    /// fit or its stamp is invalid. read_header() does not take this layout; header_block() writes
    /// the one that it takes. What was written before a failure stays.
    std::size_t write_to(std::uint8_t* buffer, std::size_t size) const;

    /// What write_to() writes, filled up with zeros to a header's size.
    std::vector<std::uint8_t> to_bytes() const;
    bool save_to_file(const std::wstring& path) const;

private:
    friend std::unique_ptr<CHeader> read_header(core::input_stream& stream, package_fault& fault);

    internals::header_ver_1* ver_1() const noexcept;
    std::vector<std::uint8_t> derived(std::string_view label, std::size_t length) const;

    std::string m_kind;
    std::uint32_t header_version = 0;
    std::unique_ptr<internals::versioned_header> versioned_part;
};

/// Reads a header from where the stream stands. Empty on any failure; never throws.
std::unique_ptr<CHeader> read_header(core::input_stream& stream);

/// The same, and says why.
std::unique_ptr<CHeader> read_header(core::input_stream& stream, package_fault& fault);

/// The 1024 bytes that read_header() takes for this header. Throws core::exception with a text for
/// people if a package with it would be refused, or would lose a field.
std::vector<std::uint8_t> header_block(const CHeader& header);

} // namespace package

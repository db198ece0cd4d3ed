#include "morvanticshared/packageheader.h"

#include "core/bytearrayinputstream.h"
#include "core/text.h"
#include "core_crypto/keyderivation.h"

#include <algorithm>
#include <bit>
#include <concepts>
#include <cstring>
#include <fstream>
#include <limits>
#include <utility>

// The header as it is read, all numbers little-endian:
//
//     0  kind, 9 characters and a zero    32  version_part_4, u32
//    10  header_version, u32              36  aux_value, u32
//    14  stamp, 13 characters and a zero  40  encryption_type, u32
//    28  version_part_1, u16              44  length of the signature, u32
//    30  version_part_2, u8               48  signature
//    31  version_part_3, u8                   trailer_text and a zero, then zeros up to 1024
//
// Kind and stamp are read as zero-terminated text, so one of another length moves what follows.

namespace package {

namespace {

constexpr std::uint32_t known_version = 1;
constexpr std::uint64_t kind_limit = 10;
constexpr std::uint64_t stamp_length = 13;
constexpr std::size_t iv_size = 16;
constexpr std::uint32_t writer_room = 984; // a header less the 40 fixed bytes that write_to() gives

constexpr std::array<std::size_t, 5> signature_lengths = {160, 224, 256, 384, 512};

struct encryption_row {
    std::uint32_t type;
    std::size_t key_size;
};

constexpr encryption_row encryption_table[] = {
    {encryption_none, 0},
    {encryption_aes_128, 16},
    {encryption_aes_192, 24},
    {encryption_aes_256, 32},
};

/// Fills a block of memory from its front. Once a piece does not fit, nothing more is written.
class block_writer {
public:
    block_writer(std::uint8_t* block, std::size_t size) : m_block(block), m_size(size) {}

    void bytes(const void* data, std::size_t count) {
        m_overrun = m_overrun || count > m_size - m_used;
        if (m_overrun || count == 0) return;
        std::memcpy(m_block + m_used, data, count);
        m_used += count;
    }

    void zstring(const std::string& text) { bytes(text.c_str(), text.size() + 1); }

    template <std::unsigned_integral Number>
    void number(Number value) {
        static_assert(std::endian::native == std::endian::little);
        bytes(&value, sizeof(value));
    }

    /// Bytes written, 0 if any did not fit.
    std::size_t count() const noexcept { return m_overrun ? 0 : m_used; }

private:
    std::uint8_t* m_block;
    std::size_t m_size;
    std::size_t m_used = 0;
    bool m_overrun = false;
};

/// What both layouts end with.
void write_tail(block_writer& out, const CHeader& header) {
    const std::vector<std::uint8_t> signature = header.signature();
    out.number(header.aux_value());
    out.number(header.encryption_type());
    out.number(static_cast<std::uint32_t>(signature.size()));
    out.bytes(signature.data(), signature.size());
    out.zstring(header.trailer_text());
}

bool is_digit(char character) noexcept { return character >= '0' && character <= '9'; }

std::uint16_t decimal(std::string_view digits) noexcept {
    unsigned value = 0;
    for (const char digit : digits)
        value = 10 * value + static_cast<unsigned>(digit - '0');
    return static_cast<std::uint16_t>(value);
}

std::string two_digits(std::uint16_t value) {
    std::string digits = std::to_string(value);
    if (digits.size() < 2) digits.insert(digits.begin(), '0');
    return digits;
}

std::unique_ptr<internals::header_ver_1> read_ver_1(core::input_stream& block) {
    auto part = std::make_unique<internals::header_ver_1>();
    // An invalid stamp is no failure here: the signature decides.
    part->stamp = parse_stamp(block.read_zstring(stamp_length));
    part->version_part_1 = block.read_uint16(core::encoding_little_endian);
    part->version_part_2 = block.read_uint8();
    part->version_part_3 = block.read_uint8();
    part->version_part_4 = block.read_uint32(core::encoding_little_endian);
    part->aux_value = block.read_uint32(core::encoding_little_endian);
    part->encryption_type = block.read_uint32(core::encoding_little_endian);
    const std::uint32_t length = block.read_uint32(core::encoding_little_endian);
    part->signature = block.read_bytes(length);
    // Computed in 32 bits: an overlong signature wraps. The block ends before the limit can bite.
    part->trailer_text = block.read_zstring(std::uint32_t{writer_room - length});
    return part;
}

void require(bool condition, const std::string& message) {
    if (!condition) throw core::exception(message);
}

} // namespace

std::optional<std::size_t> key_size_of(std::uint32_t encryption_type) noexcept {
    for (const encryption_row& row : encryption_table) {
        if (row.type == encryption_type) return row.key_size;
    }
    return std::nullopt;
}

bool is_package_kind(std::string_view word) noexcept {
    return std::find(package_kinds.begin(), package_kinds.end(), word) != package_kinds.end();
}

bool is_valid_stamp_text(std::string_view text) noexcept {
    constexpr std::string_view shape = "dddd-dd-dd-dd";
    return std::equal(text.begin(), text.end(), shape.begin(), shape.end(),
                      [](char character, char expected) {
                          return expected == 'd' ? is_digit(character) : character == expected;
                      });
}

package_stamp parse_stamp(std::string_view text) noexcept {
    constexpr std::uint16_t none = std::numeric_limits<std::uint16_t>::max();
    if (!is_valid_stamp_text(text)) return {none, none, none, none, false};

    package_stamp stamp{decimal(text.substr(0, 4)), decimal(text.substr(5, 2)),
                        decimal(text.substr(8, 2)), decimal(text.substr(11, 2)), false};
    // No other range is tested: month 0 and day 0 pass.
    stamp.valid =
        stamp.year >= 2017 && stamp.month <= 12 && stamp.day <= 31 && stamp.sequence <= 99;
    return stamp;
}

std::string stamp_text(const package_stamp& stamp) {
    if (!stamp.valid) return {};
    return std::to_string(stamp.year) + '-' + two_digits(stamp.month) + '-' +
           two_digits(stamp.day) + '-' + two_digits(stamp.sequence);
}

namespace internals {

versioned_header::~versioned_header() = default;

header_ver_1::~header_ver_1() = default;

std::unique_ptr<versioned_header> header_ver_1::clone() const {
    auto copy = std::make_unique<header_ver_1>();
    copy->stamp = stamp;
    copy->aux_value = aux_value;
    copy->encryption_type = encryption_type;
    copy->signature = signature;
    copy->trailer_text = trailer_text;
    return copy;
}

std::size_t header_ver_1::key_size() const { return key_size_of(encryption_type).value_or(0); }

} // namespace internals

CHeader::CHeader(std::string kind, const package_stamp& stamp, std::uint32_t encryption_type,
                 const package_version& version, std::uint32_t aux_value)
    : m_kind(std::move(kind)), header_version(known_version) {
    auto part = std::make_unique<internals::header_ver_1>();
    part->stamp = stamp;
    part->version_part_1 = version.version_part_1;
    part->version_part_2 = version.version_part_2;
    part->version_part_3 = version.version_part_3;
    part->version_part_4 = version.version_part_4;
    part->aux_value = aux_value;
    part->encryption_type = encryption_type;
    versioned_part = std::move(part);
}

CHeader::~CHeader() = default;

std::unique_ptr<CHeader> CHeader::clone() const {
    auto copy = std::make_unique<CHeader>();
    copy->header_version = header_version;
    if (versioned_part) copy->versioned_part = versioned_part->clone();
    return copy;
}

internals::header_ver_1* CHeader::ver_1() const noexcept {
    return header_version == known_version
               ? static_cast<internals::header_ver_1*>(versioned_part.get())
               : nullptr;
}

package_stamp CHeader::stamp() const {
    const internals::header_ver_1* part = ver_1();
    return part != nullptr ? part->stamp : package_stamp{};
}

std::string CHeader::stamp_text() const { return package::stamp_text(stamp()); }

package_version CHeader::version_parts() const {
    const internals::header_ver_1* part = ver_1();
    if (part == nullptr) return {0xFFFFFFFF, 0xFF, 0xFF, 0xFFFF};
    return {part->version_part_4, part->version_part_3, part->version_part_2, part->version_part_1};
}

std::uint32_t CHeader::aux_value() const {
    const internals::header_ver_1* part = ver_1();
    return part != nullptr ? part->aux_value : 0;
}

std::uint32_t CHeader::encryption_type() const {
    const internals::header_ver_1* part = ver_1();
    return part != nullptr ? part->encryption_type : 0;
}

std::vector<std::uint8_t> CHeader::signature() const {
    const internals::header_ver_1* part = ver_1();
    return part != nullptr ? part->signature : std::vector<std::uint8_t>{};
}

std::string CHeader::trailer_text() const {
    const internals::header_ver_1* part = ver_1();
    return part != nullptr ? part->trailer_text : std::string();
}

std::vector<std::uint8_t> CHeader::package_key() const {
    return derived("morvantic package key", versioned_part ? versioned_part->key_size() : 0);
}

std::vector<std::uint8_t> CHeader::package_iv() const {
    const bool encrypted = versioned_part && versioned_part->key_size() != 0;
    return derived("morvantic package iv", encrypted ? iv_size : 0);
}

std::vector<std::uint8_t> CHeader::derived(std::string_view label, std::size_t length) const {
    const std::string salt = stamp_text();
    if (length != 0 && !salt.empty()) {
        std::vector<std::uint8_t> bytes = core::hkdf_sha256(m_kind, salt, label, length);
        if (!bytes.empty()) return bytes;
    }
    return std::vector<std::uint8_t>(length);
}

bool CHeader::set_signature(const std::vector<std::uint8_t>& bytes) {
    internals::header_ver_1* part = ver_1();
    const bool accepted = std::find(signature_lengths.begin(), signature_lengths.end(),
                                    bytes.size()) != signature_lengths.end();
    if (part == nullptr || !accepted) return false;
    part->signature = bytes;
    return true;
}

bool CHeader::set_trailer_text(const std::string& text) {
    internals::header_ver_1* part = ver_1();
    if (part == nullptr) return false;
    part->trailer_text = text;
    return true;
}

std::size_t CHeader::write_to(std::uint8_t* buffer, std::size_t size) const {
    if (size < MVE_PACKAGE_HEADER_SIZE) return 0;
    block_writer out(buffer, size);
    out.zstring(m_kind);
    out.number(header_version);
    if (!stamp().valid) return 0;
    out.zstring(stamp_text());
    write_tail(out, *this);
    return out.count();
}

std::vector<std::uint8_t> CHeader::to_bytes() const {
    std::vector<std::uint8_t> bytes(MVE_PACKAGE_HEADER_SIZE);
    write_to(bytes.data(), bytes.size());
    return bytes;
}

bool CHeader::save_to_file(const std::wstring& path) const {
    const std::optional<std::string> encoded = core::encode_path(path);
    if (!encoded) return false;
    const std::vector<std::uint8_t> bytes = to_bytes();
    std::ofstream file(*encoded, std::ios::out | std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    file.flush(); // a full disk shows here and not before
    return file.is_open() && file.good();
}

std::unique_ptr<CHeader> read_header(core::input_stream& stream, package_fault& fault) {
    fault = fault_header_unreadable; // what it means if the reading throws
    return core::log_and_swallow_all([&]() -> std::unique_ptr<CHeader> {
        if (stream.size() < MVE_PACKAGE_HEADER_SIZE) {
            fault = fault_too_short;
            return nullptr;
        }
        auto header = std::make_unique<CHeader>();
        std::vector<std::uint8_t> buffer(MVE_PACKAGE_HEADER_SIZE);
        // The bytes that a short read leaves out are zero.
        if (stream.read_impl(buffer.data(), buffer.size()) != buffer.size()) {
            core::assertion("read == header_buffer.size()");
        }
        core::CShallowByteArrayInputStream block(buffer.data(), buffer.size());

        header->m_kind = block.read_zstring(kind_limit);
        if (!is_package_kind(header->m_kind)) {
            fault = fault_kind;
            return nullptr;
        }
        header->header_version = block.read_uint32(core::encoding_little_endian);
        if (header->header_version != known_version) {
            core::assertion("!\"Unknown package version.\"");
            fault = fault_version;
            return nullptr;
        }
        header->versioned_part = read_ver_1(block);
        fault = fault_none;
        return header;
    });
}

std::unique_ptr<CHeader> read_header(core::input_stream& stream) {
    package_fault fault = fault_none;
    return read_header(stream, fault);
}

std::vector<std::uint8_t> header_block(const CHeader& header) {
    const std::string kind = header.kind();
    const std::string trailer = header.trailer_text();
    const package_version version = header.version_parts();
    require(is_package_kind(kind), "The package kind is not one of the known words.");
    require(header.stamp().valid, "The stamp is not valid.");
    require(key_size_of(header.encryption_type()).has_value(), "The encryption type is unknown.");
    require(!header.signature().empty(), "The header has no signature.");
    require(trailer.find('\0') == std::string::npos, "The trailer text holds a zero byte.");

    std::vector<std::uint8_t> block(MVE_PACKAGE_HEADER_SIZE);
    block_writer out(block.data(), block.size());
    out.zstring(kind);
    out.number(known_version);
    out.zstring(header.stamp_text());
    out.number(version.version_part_1);
    out.number(version.version_part_2);
    out.number(version.version_part_3);
    out.number(version.version_part_4);
    write_tail(out, header);
    require(out.count() != 0, "Signature and trailer text do not fit in the header.");
    return block;
}

} // namespace package

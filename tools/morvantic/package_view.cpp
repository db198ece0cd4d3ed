#include "package_view.h"

#include "checks.h"
#include "failure.h"
#include "output.h"

#include "core/text.h"
#include "core_compress/zipstreamdirectory.h"
#include "morvanticshared/packageverification.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <zlib.h>

namespace tool {

namespace {

constexpr std::uint64_t encrypted_flag = 1;
constexpr std::uint64_t method_stored = 0;
constexpr std::uint64_t method_deflated = 8;

constexpr std::uint64_t local_header_size = 30;
constexpr std::uint32_t local_header_signature = 0x04034B50;

constexpr std::uint64_t read_block = 65536;

using bytes = std::vector<std::uint8_t>;

/// The content of a member on its way: counts it, and computes the check value.
class content_meter {
public:
    content_meter(const member& entry, const byte_sink& sink) : m_entry(entry), m_sink(sink) {}

    /// False once there is more than the archive says.
    bool add(std::span<const std::uint8_t> piece) {
        m_size += piece.size();
        if (overflowed()) return false;
        m_check_value = crc32_z(m_check_value, piece.data(), piece.size());
        if (m_sink) m_sink(piece);
        return true;
    }

    bool overflowed() const { return m_size > m_entry.size; }

    std::string verdict() const {
        if (m_size != m_entry.size) {
            return "its content has another size than the directory of the archive says";
        }
        if (m_check_value != m_entry.check_value)
            return "its content does not match its check value";
        return {};
    }

private:
    const member& m_entry;
    const byte_sink& m_sink;
    std::uint64_t m_size = 0;
    uLong m_check_value = 0;
};

std::string meter_stored(core::input_stream& data, content_meter& meter) {
    for (bytes piece = data.read_bytes(read_block); !piece.empty();
         piece = data.read_bytes(read_block)) {
        if (!meter.add(piece)) break;
    }
    return meter.verdict();
}

class inflater {
public:
    inflater() {
        if (inflateInit2(&m_control, -MAX_WBITS) != Z_OK) throw std::bad_alloc();
    }

    inflater(const inflater&) = delete;
    inflater& operator=(const inflater&) = delete;

    ~inflater() { inflateEnd(&m_control); }

    /// Inflates all of a piece. Z_OK if more is wanted.
    int inflate_piece(bytes& piece, content_meter& meter) {
        m_control.next_in = piece.data();
        m_control.avail_in = static_cast<uInt>(piece.size());
        bytes buffer(read_block);
        int status = Z_OK;
        do {
            m_control.next_out = buffer.data();
            m_control.avail_out = static_cast<uInt>(buffer.size());
            status = inflate(&m_control, Z_NO_FLUSH);
            if (!meter.add({buffer.data(), buffer.size() - m_control.avail_out})) break;
        } while (status == Z_OK && (m_control.avail_in != 0 || m_control.avail_out == 0));
        // No progress for want of input is no fault.
        return status == Z_BUF_ERROR ? Z_OK : status;
    }

private:
    z_stream m_control{};
};

std::string meter_deflated(core::input_stream& data, content_meter& meter) {
    inflater inflating;
    for (bytes piece = data.read_bytes(read_block); !piece.empty();
         piece = data.read_bytes(read_block)) {
        const int status = inflating.inflate_piece(piece, meter);
        if (status == Z_STREAM_END) return meter.verdict();
        if (status != Z_OK) return "its compressed data are damaged";
        if (meter.overflowed()) return meter.verdict();
    }
    return "its compressed data break off";
}

template <class Value>
Value field_at(const bytes& record, std::size_t offset) {
    return core::decode<Value>(std::span(record).subspan(offset, sizeof(Value)),
                               core::encoding_little_endian);
}

/// Brings the view of the stream down to a member's data. An empty text if that worked.
std::string enter_data(core::input_stream& stream, const member& entry) {
    if (!stream.set_pos(entry.offset)) return "it lies beyond the end of the payload";
    const bytes head = stream.read_bytes(local_header_size);
    if (head.size() != local_header_size) return "it lies beyond the end of the payload";
    if (field_at<std::uint32_t>(head, 0) != local_header_signature) {
        return "it is not where the directory of the archive says";
    }
    const std::uint64_t name_and_extra =
        std::uint64_t{field_at<std::uint16_t>(head, 26)} + field_at<std::uint16_t>(head, 28);
    if (stream.skip(name_and_extra) != name_and_extra || stream.remaining() < entry.packed_size) {
        return "its data reach beyond the end of the payload";
    }
    stream.mark_begin();
    stream.set_length(entry.packed_size);
    return {};
}

} // namespace

file_kind kind_of(std::wstring_view name) {
    if (name.starts_with(L"Resources/")) return file_resource;
    if (name.ends_with(L".sc")) return file_script;
    if (name.ends_with(L".xq")) return file_xquery;
    if (name.ends_with(L".py")) return file_python;
    if (name.ends_with(L".xml")) return file_xml;
    return file_unreached;
}

std::string member::text_name() const { return core::encode_lossy(name); }

/// The engine's directory, with what it keeps for itself.
class package_view::archive : public core::CZipStreamDirectory {
public:
    using core::CZipStreamDirectory::CZipStreamDirectory;

    bool opened() const noexcept { return status != status_not_an_archive; }

    bool cut_short() const noexcept { return status == status_broken_record; }

    std::vector<member> list() const {
        std::vector<member> result;
        for (const auto& [name, record, place] : *entries) {
            result.push_back({std::wstring(name), kind_of(name), record->uncompressed_size,
                              record->compressed_size, record->compression_method, record->flag,
                              record->crc, record->disk_offset});
        }
        return result;
    }
};

package_view::package_view(core::input_stream_ptr payload, const std::string& package_name)
    : m_payload(payload->clone()) {
    if (!m_payload) fail_call(package_name + " cannot be read.");
    try {
        m_archive = std::make_unique<archive>(std::move(payload));
    } catch (const std::range_error&) {
        fail_input(package_name + ": A file name in the archive says that it is UTF-8 and is not, "
                                  "so the engine refuses the package. It has to be packed anew.");
    }
    m_is_archive = m_archive->opened();
    m_is_cut_short = m_archive->cut_short();
    m_members = m_archive->list();
}

package_view::package_view(package_view&&) noexcept = default;

package_view::~package_view() = default;

const member* package_view::find(std::wstring_view name) const {
    const auto place = std::lower_bound(m_members.begin(), m_members.end(), name,
                                        [](const member& entry, std::wstring_view text) {
                                            return core::u16_less{}(entry.name, text);
                                        });
    if (place == m_members.end() || core::u16_less{}(name, place->name)) return nullptr;
    return &*place;
}

kind_counts package_view::counts() const {
    kind_counts counts{};
    for (const member& entry : m_members)
        ++counts[entry.kind];
    return counts;
}

std::string package_view::defect(const member& entry, const byte_sink& sink) const {
    if ((entry.flags & encrypted_flag) != 0) return "it is encrypted by itself";
    if (entry.method != method_stored && entry.method != method_deflated) {
        return "its compression method " + std::to_string(entry.method) + " is not supported";
    }
    const core::input_stream_ptr data = m_payload->clone();
    if (!data) return "the package cannot be opened once more";
    std::string misplaced = enter_data(*data, entry);
    if (!misplaced.empty()) return misplaced;
    content_meter meter(entry, sink);
    return entry.method == method_stored ? meter_stored(*data, meter)
                                         : meter_deflated(*data, meter);
}

void package_view::read(const member& entry, const byte_sink& sink) const {
    const core::input_stream_ptr content = m_archive->open(entry.name);
    if (!content) fail_input(entry.text_name() + " cannot be opened.");
    std::uint64_t total = 0;
    for (bytes piece = content->read_bytes(read_block); !piece.empty();
         piece = content->read_bytes(read_block)) {
        total += piece.size();
        sink(piece);
    }
    if (total != entry.size) fail_input(entry.text_name() + " cannot be read to its end.");
}

std::string counts_text(const kind_counts& counts) {
    constexpr std::array<const char*, 6> nouns = {"script",   "XQuery file",   "Python file",
                                                  "XML file", "resource file", "unreached file"};
    std::string text;
    for (std::size_t kind = 0; kind != counts.size(); ++kind) {
        if (counts[kind] == 0) continue;
        text += (text.empty() ? "" : ", ") + counted(counts[kind], nouns[kind]);
    }
    return text.empty() ? "no files" : text;
}

nlohmann::ordered_json counts_json(const kind_counts& counts) {
    nlohmann::ordered_json object;
    for (std::size_t kind = 0; kind != counts.size(); ++kind)
        object[kind_words[kind]] = counts[kind];
    return object;
}

std::string archive_problem(const package_view& view) {
    if (!view.is_archive()) return "The payload is no zip archive, or an empty one.";
    if (view.is_cut_short()) return "The directory of the archive breaks off.";
    return {};
}

const member& served_member(const package_view& view, const std::string& name,
                            const std::string& package_name) {
    const member* entry = view.find(core::decode_path(name));
    if (entry == nullptr) {
        fail_input(package_name + " has no file " + name +
                   ". \"morvantic list\" shows what it has; names differ by case.");
    }
    if (entry->kind == file_unreached) {
        fail_input(package_name + ": The engine does not serve " + name +
                   ", since it has no known ending and is not below Resources/.");
    }
    return *entry;
}

void read_or_fail(const package_view& view, const member& entry, const std::string& package_name,
                  const byte_sink& sink) {
    const std::string defect = view.defect(entry, sink);
    if (defect.empty()) return;
    fail_input(package_name + ": " + entry.text_name() + " cannot be read: " + defect + ".");
}

package_view open_verified(const input_file& package, const input_file& key) {
    core::input_stream_ptr stream = package.open();
    const package::verification result = package::verify_package(*stream, key.wide_path());
    if (result.fault != package::fault_none) fail_input(fault_message(result.fault, package, key));
    package_view view(package::payload_stream(std::move(stream), *result.header), package.name());
    const std::string problem = archive_problem(view);
    if (!problem.empty()) fail_input(package.name() + ": " + problem);
    return view;
}

} // namespace tool

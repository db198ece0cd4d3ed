#pragma once

#include "input_file.h"

#include "core/inputstream.h"
#include "morvanticshared/packageheader.h"

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// What is in a package, seen from below the engine.

namespace tool {

/// What the engine takes a member for.
enum file_kind : std::uint8_t {
    file_script,
    file_xquery,
    file_python,
    file_xml,
    file_resource,
    file_unreached, // no host can ask for it
};

/// The words for the kinds, by their values.
inline constexpr std::array<const char*, 6> kind_words = {"script", "xquery",   "python",
                                                          "xml",    "resource", "unreached"};

/// By the rules of the engine's package store.
file_kind kind_of(std::wstring_view name);

struct member {
    std::wstring name;
    file_kind kind = file_unreached;
    std::uint64_t size = 0;
    std::uint64_t packed_size = 0;
    std::uint64_t method = 0;
    std::uint64_t flags = 0;
    std::uint64_t check_value = 0;
    std::uint64_t offset = 0; // of its local header in the payload

    /// As UTF-8.
    std::string text_name() const;
};

/// How many members there are of each kind.
using kind_counts = std::array<std::uint64_t, kind_words.size()>;

using byte_sink = std::function<void(std::span<const std::uint8_t>)>;

/// The archive in a package's payload. What cannot be listed is left out, as in the engine.
class package_view {
public:
    /// Position 0 of the stream is the payload's first byte. Throws failure, the input's, if a name
    /// cannot be read, for which the engine refuses a package as a whole.
    package_view(core::input_stream_ptr payload, const std::string& package_name);
    package_view(package_view&&) noexcept;
    ~package_view();

    bool is_archive() const noexcept { return m_is_archive; }

    /// Whether the directory of the archive breaks off.
    bool is_cut_short() const noexcept { return m_is_cut_short; }

    /// In the order of their names.
    const std::vector<member>& members() const noexcept { return m_members; }

    /// Null if there is no such member.
    const member* find(std::wstring_view name) const;

    kind_counts counts() const;

    /// Why a member cannot be read, or is not what the archive says of it; empty if it is sound.
    /// The engine must not be asked for a member that is not: it waits for ever for the end of a
    /// deflate stream that breaks off. The content goes to `sink` on the way.
    std::string defect(const member& entry, const byte_sink& sink = {}) const;

    /// Content of a sound member, by the same code as in the engine.
    void read(const member& entry, const byte_sink& sink) const;

private:
    class archive;

    core::input_stream_ptr m_payload;
    std::unique_ptr<archive> m_archive;
    std::vector<member> m_members;
    bool m_is_archive = false;
    bool m_is_cut_short = false;
};

/// "3 scripts, 1 Python file": the kinds that occur.
std::string counts_text(const kind_counts& counts);

/// The same as an object with all kinds.
nlohmann::ordered_json counts_json(const kind_counts& counts);

/// What keeps the engine from serving all of an archive, as a sentence. Empty if nothing does.
std::string archive_problem(const package_view& view);

/// The member of this name, given as UTF-8. Throws failure if there is none or if the engine does
/// not serve it.
const member& served_member(const package_view& view, const std::string& name,
                            const std::string& package_name);

/// The content of a member. Throws failure, the input's, if it is not sound; some has gone to the
/// sink then.
void read_or_fail(const package_view& view, const member& entry, const std::string& package_name,
                  const byte_sink& sink);

/// The view of a package that has passed all checks and holds an archive. Throws failure if not.
package_view open_verified(const input_file& package, const input_file& key);

} // namespace tool

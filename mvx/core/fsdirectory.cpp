#include "core/fsdirectory.h"

#include "core/debug.h"
#include "core/fsfailure.h"
#include "core/platform.h"
#include "core/text.h"
#include "core/winapifileinputstream.h"

#include <filesystem>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

// Paths are joined as wide text and go to the system as bytes, so that a relative name can be cut
// out of a full one whatever its bytes are. A path without a form in bytes leads nowhere.

namespace core {

namespace {

bool same_units(const std::wstring& left, const std::wstring& right) noexcept {
    constexpr u16_less less;
    return !less(left, right) && !less(right, left);
}

struct wide_entry {
    std::wstring name;
    bool is_folder; // and no link to one
};

std::vector<wide_entry> entries_of(const std::wstring& folder) {
    std::vector<wide_entry> entries;
    const std::optional<std::string> bytes = encode_path(folder);
    if (!bytes) return entries;
    for (const folder_entry& entry : core::entries_of(*bytes))
        entries.push_back({decode_path(entry.name), entry.is_folder});
    return entries;
}

std::uint64_t time_of(const std::wstring& path, file_time which) {
    const std::optional<std::string> bytes = encode_path(path);
    const std::optional<std::int64_t> seconds = bytes ? seconds_of(*bytes, which) : std::nullopt;
    if (!seconds) {
        warning_logger{} << "Failed to get file timestamp: " << 0;
        return 0;
    }
    const auto timestamp = static_cast<std::uint64_t>(*seconds);
    if (timestamp > std::numeric_limits<std::uint32_t>::max()) {
        assertion("timestamp <= _UI32_MAX");
    }
    return timestamp;
}

} // namespace

namespace internals {

namespace {

/// What both iterations are: live until their state runs out of entries.
class fs_iteration : public _const_iterator_impl {
public:
    fs_iteration(const CFsDirectory* directory, const std::wstring& root)
        : prefix_length(root.size() + 1), owner(directory) {
        count = 1;
    }

    void decrement() override {
        assertion("!\"Fs iterator cannot be decremented!!!\"");
        throw exception("Decrement operation not supported.");
    }

protected:
    file_info_ptr info_of(std::wstring path) const {
        std::wstring name = path.substr(static_cast<std::size_t>(prefix_length));
        return std::make_unique<CFsFileInfo>(owner, std::move(name), std::move(path));
    }

    void end() noexcept { index = 1; }

private:
    std::uint64_t prefix_length; // of root and a separator
    const CFsDirectory* owner;
};

/// The entries of one folder, and how many of them have been passed.
struct folder_level {
    explicit folder_level(std::wstring path)
        : folder(std::move(path)), entries(entries_of(folder)) {}

    bool at_end() const noexcept { return passed == entries.size(); }

    const wide_entry& entry() const { return entries[passed]; }

    std::wstring entry_path() const { return join_path(folder, entry().name); }

    std::wstring folder;
    std::vector<wide_entry> entries;
    std::size_t passed = 0;
};

class _fs_dir_const_iterator_no_recursive_impl : public fs_iteration {
public:
    _fs_dir_const_iterator_no_recursive_impl(const CFsDirectory* directory,
                                             const std::wstring& root)
        : fs_iteration(directory, root), m_level(root) {
        if (m_level.at_end()) end();
    }

    void increment() override {
        if (!m_level.at_end()) ++m_level.passed;
        if (m_level.at_end()) end();
    }

    file_info_ptr dereference() override { return info_of(m_level.entry_path()); }

private:
    folder_level m_level;
};

class _fs_dir_const_iterator_recursive_impl : public fs_iteration {
public:
    _fs_dir_const_iterator_recursive_impl(const CFsDirectory* directory, const std::wstring& root)
        : fs_iteration(directory, root) {
        m_levels.emplace_back(root);
        leave_finished();
    }

    /// Goes into the folder that was yielded, else past the entry.
    void increment() override {
        if (m_levels.empty()) return;
        const bool is_folder = m_levels.back().entry().is_folder;
        const std::wstring path = m_levels.back().entry_path();
        ++m_levels.back().passed;
        if (is_folder) m_levels.emplace_back(path);
        leave_finished();
    }

    file_info_ptr dereference() override { return info_of(m_levels.back().entry_path()); }

private:
    void leave_finished() {
        while (!m_levels.empty() && m_levels.back().at_end())
            m_levels.pop_back();
        if (m_levels.empty()) end();
    }

    std::vector<folder_level> m_levels;
};

} // namespace

} // namespace internals

CFsDirectory::CFsDirectory(std::wstring path) : root(std::move(path)) {}

CFsDirectory::~CFsDirectory() = default;

directory_ptr CFsDirectory::clone() const {
    return std::make_unique<make_smart_enabler<CFsDirectory>>(*this);
}

std::wstring CFsDirectory::full_path(const std::wstring& path) const {
    return join_path(root, path);
}

bool CFsDirectory::exists(const std::wstring& path) const {
    const std::optional<std::string> bytes = encode_path(full_path(path));
    if (!bytes) return false;
    std::error_code error;
    return std::filesystem::exists(std::filesystem::status(*bytes, error));
}

input_stream_ptr CFsDirectory::open(const std::wstring& path) const {
    if (!exists(path)) return nullptr;
    return std::make_unique<CWApiFileInputStream>(full_path(path));
}

file_info_ptr CFsDirectory::get_info(const std::wstring& path) const {
    if (!exists(path)) return nullptr;
    return std::make_unique<CFsFileInfo>(this, path, full_path(path));
}

const_iterator CFsDirectory::search(bool recursive) const {
    if (recursive) {
        return const_iterator(
            std::make_unique<internals::_fs_dir_const_iterator_recursive_impl>(this, root));
    }
    return const_iterator(
        std::make_unique<internals::_fs_dir_const_iterator_no_recursive_impl>(this, root));
}

directory_ptr CFsDirectory::subdirectory(const std::wstring& path) const {
    if (path.empty()) return nullptr;
    auto copy = std::make_unique<make_smart_enabler<CFsDirectory>>(*this);
    copy->root = full_path(path);
    return copy;
}

bool CFsDirectory::operator==(const directory& other) const {
    const auto* folder = dynamic_cast<const CFsDirectory*>(&other);
    return folder != nullptr ? same_units(root, folder->root) : directory::operator==(other);
}

bool CFsDirectory::operator!=(const directory& other) const {
    return !CFsDirectory::operator==(other);
}

bool CFsDirectory::operator<(const directory& other) const {
    const auto* folder = dynamic_cast<const CFsDirectory*>(&other);
    return folder != nullptr ? u16_less()(root, folder->root) : directory::operator<(other);
}

CFsFileInfo::CFsFileInfo(const directory* entry_owner, std::wstring relative_path,
                         std::wstring path)
    : file_info(entry_owner), name(std::move(relative_path)), full_path(std::move(path)) {}

CFsFileInfo::~CFsFileInfo() = default;

std::wstring CFsFileInfo::path() const { return name; }

std::uint64_t CFsFileInfo::size() const {
    std::error_code error = std::make_error_code(std::errc::illegal_byte_sequence);
    std::uintmax_t size = 0;
    if (const std::optional<std::string> bytes = encode_path(full_path)) {
        size = std::filesystem::file_size(*bytes, error);
    }
    if (error) throw fs_failure("file_size(p): invalid argument", error);
    return size;
}

std::uint64_t CFsFileInfo::creation_time() const { return time_of(full_path, file_time_creation); }

std::uint64_t CFsFileInfo::modification_time() const {
    return time_of(full_path, file_time_modification);
}

std::uint64_t CFsFileInfo::access_time() const { return time_of(full_path, file_time_access); }

} // namespace core

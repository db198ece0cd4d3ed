#include "source_folder.h"

#include "descriptor.h"
#include "failure.h"

#include "core/text.h"
#include "core_crypto/cryptohandles.h"

#include <algorithm>
#include <dirent.h>
#include <fcntl.h>
#include <map>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>

namespace tool {

namespace {

/// The engine cuts longer names.
constexpr std::size_t longest_name = 4095;

/// From here on a member would need an extra field for its size.
constexpr std::uint64_t file_size_limit = 0xFFFFFFFF;

using folder_handle = core::handle<DIR, closedir>;

struct unwanted_identity {
    dev_t device;
    ino_t number;
    std::string refusal;
};

std::vector<unwanted_identity> identities(const std::vector<unwanted_file>& unwanted) {
    std::vector<unwanted_identity> result;
    for (const unwanted_file& file : unwanted) {

        file_status status{};
        if (stat(file.path.c_str(), &status) != 0) continue;
        result.push_back({status.st_dev, status.st_ino, file.refusal});
    }
    return result;
}

std::wstring checked_name(const std::string& name, const std::string& path) {
    if (name.size() > longest_name) {
        fail_input(path.substr(0, 60) +
                   "...: The name is longer than 4095 bytes below the folder. Shorten it.");
    }
    try {
        return core::decode_utf8(name);
    } catch (const std::range_error&) {
        fail_input(path + ": The name is not valid UTF-8, and scripts could not name the file. "
                          "Rename it.");
    }
}

/// An empty folder means the top.
std::string joined(const std::string& folder, const std::string& name) {
    return folder.empty() ? name : folder + '/' + name;
}

/// Walks a folder without following links.
class walker {
public:
    walker(const std::string& folder, bool with_hidden, const std::vector<unwanted_file>& unwanted)
        : m_root(folder), m_with_hidden(with_hidden), m_unwanted(identities(unwanted)) {
        while (m_root.size() > 1 && m_root.back() == '/')
            m_root.pop_back();
    }

    source_folder walk() {
        m_folders_left.push_back("");
        while (!m_folders_left.empty()) {
            const std::string folder = std::move(m_folders_left.back());
            m_folders_left.pop_back();
            list(folder);
        }
        std::sort(m_found.files.begin(), m_found.files.end(),
                  [](const source_file& left, const source_file& right) {
                      return core::u16_less{}(left.wide_name, right.wide_name);
                  });
        std::sort(m_found.skipped.begin(), m_found.skipped.end());
        compare_without_case();
        return std::move(m_found);
    }

private:
    std::string path_of(const std::string& name) const {
        return name.empty() ? m_root : joined(m_root, name);
    }

    void list(const std::string& folder) {
        const folder_handle open(opendir(path_of(folder).c_str()));
        if (!open) {
            const std::string reason = path_of(folder) + ": " + error_text(errno) + ".";
            if (folder.empty()) fail_call(reason);
            fail_input(reason);
        }
        errno = 0;
        while (const dirent* entry = readdir(open.get())) {
            const std::string own_name = entry->d_name;
            if (own_name != "." && own_name != "..") {
                add(joined(folder, own_name), own_name[0] == '.');
            }
            errno = 0;
        }
        if (errno != 0) fail_input(path_of(folder) + ": " + error_text(errno) + ".");
    }

    void add(const std::string& name, bool hidden) {
        if (hidden && !m_with_hidden) {
            m_found.skipped.push_back(name);
            return;
        }
        const std::string path = path_of(name);
        std::wstring wide_name = checked_name(name, path);

        file_status status{};
        if (lstat(path.c_str(), &status) != 0) fail_input(path + ": " + error_text(errno) + ".");
        if (S_ISDIR(status.st_mode)) {
            m_folders_left.push_back(name);
            return;
        }
        check_kind(path, status.st_mode);
        if (is_unwanted(path, status)) return;
        m_found.files.push_back(
            {name, std::move(wide_name), path, static_cast<std::uint64_t>(status.st_size)});
    }

    bool is_unwanted(const std::string& path, const file_status& status) const {
        for (const unwanted_identity& unwanted : m_unwanted) {
            if (unwanted.device != status.st_dev || unwanted.number != status.st_ino) continue;
            if (!unwanted.refusal.empty()) fail_input(path + ": " + unwanted.refusal);
            return true;
        }
        return false;
    }

    static void check_kind(const std::string& path, mode_t mode) {
        if (S_ISLNK(mode)) {
            fail_input(path + ": Symbolic links are not followed. Put a copy of the file here.");
        }
        if (!S_ISREG(mode)) {
            fail_input(path + ": Only files and folders can be packed. Take this out.");
        }
    }

    void compare_without_case() {
        std::map<std::string, std::string> seen;
        for (const source_file& file : m_found.files) {
            std::string folded = file.name;
            for (char& character : folded) {
                if (character >= 'A' && character <= 'Z') character += 'a' - 'A';
            }
            const auto [place, is_new] = seen.emplace(std::move(folded), file.name);
            if (!is_new) m_found.differ_in_case.push_back(place->second + " and " + file.name);
        }
    }

    std::string m_root;
    bool m_with_hidden;
    std::vector<unwanted_identity> m_unwanted;
    std::vector<std::string> m_folders_left;
    source_folder m_found;
};

} // namespace

source_folder list_source_folder(const std::string& folder, bool with_hidden,
                                 const std::vector<unwanted_file>& unwanted) {
    return walker(folder, with_hidden, unwanted).walk();
}

std::vector<std::uint8_t> read_source(const source_file& file) {
    if (file.path.empty()) return {file.content.begin(), file.content.end()};
    const descriptor open(
        ::open(file.path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    file_status status{};
    if (!open.is_open() || fstat(open.number(), &status) != 0) {
        fail_input(file.path + ": " + error_text(errno) + ".");
    }
    if (!S_ISREG(status.st_mode)) fail_input(file.path + ": This is no longer a file.");
    std::vector<std::uint8_t> content;
    content.reserve(static_cast<std::size_t>(status.st_size));
    try {
        std::vector<std::uint8_t> buffer(65536);
        while (const std::size_t count = read_some(open.number(), buffer)) {
            if (content.size() + count >= file_size_limit) {
                fail_input(file.path + ": Files of 4 GiB and more cannot be packed.");
            }
            content.insert(content.end(), buffer.begin(),
                           buffer.begin() + static_cast<std::ptrdiff_t>(count));
        }
    } catch (const std::system_error& error) {
        fail_input(file.path + ": " + error.code().message() + ".");
    }
    return content;
}

} // namespace tool

#include "stores.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace inspector {

namespace {

std::vector<std::string_view> parts(std::string_view path) {
    std::vector<std::string_view> result;
    for (;;) {
        const std::size_t slash = path.find('/');
        result.push_back(path.substr(0, slash));
        if (slash == std::string_view::npos) return result;
        path.remove_prefix(slash + 1);
    }
}

/// Whether a sequence fits a pattern, in which a star stands for any number of elements. A mismatch
/// goes back to the last star alone, which is enough and keeps the time in bounds.
template <class Sequence, class IsStar, class Fits>
bool fits_pattern(const Sequence& pattern, const Sequence& text, IsStar is_star, Fits fits) {
    constexpr auto none = static_cast<std::size_t>(-1);
    std::size_t p = 0;
    std::size_t t = 0;
    std::size_t star = none;
    std::size_t star_text = 0;
    while (t != text.size()) {
        if (p != pattern.size() && is_star(pattern[p])) {
            star = p++;
            star_text = t;
        } else if (p != pattern.size() && fits(pattern[p], text[t])) {
            ++p;
            ++t;
        } else if (star != none) {
            p = star + 1;
            t = ++star_text;
        } else {
            return false;
        }
    }
    while (p != pattern.size() && is_star(pattern[p]))
        ++p;
    return p == pattern.size();
}

bool name_fits(std::string_view pattern, std::string_view name) {
    return fits_pattern(
        pattern, name, [](char c) { return c == '*'; }, [](char a, char b) { return a == b; });
}

bool path_fits(const std::string& pattern, const std::string& path) {
    return fits_pattern(
        parts(pattern), parts(path), [](std::string_view part) { return part == "**"; }, name_fits);
}

/// Sorted. What cannot be listed is told.
std::vector<std::string> files_below(const fs::path& root, complaints& faults) {
    std::vector<std::string> names;
    std::vector<fs::path> folders{root};
    while (!folders.empty()) {
        const fs::path folder = std::move(folders.back());
        folders.pop_back();
        std::error_code failure;
        const auto tell = [&] {
            if (failure) faults.add(folder.string() + ": " + failure.message());
            failure.clear();
        };
        fs::directory_iterator entry(folder, failure);
        for (; !failure && entry != fs::directory_iterator(); entry.increment(failure)) {
            // Neither kind is a link, which may lead anywhere.
            const fs::file_type type = entry->symlink_status(failure).type();
            if (type == fs::file_type::directory) folders.push_back(entry->path());
            if (type == fs::file_type::regular) {
                names.push_back(entry->path().lexically_relative(root).string());
            }
            tell();
        }
        tell();
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

const char* folder_of(engine::EEnumValue place) {
    switch (place) {
    case engine::enum_fs_app:
        return "app";
    case engine::enum_fs_extra:
        return "extra";
    case engine::enum_fs_raw:
        return "raw";
    default:
        return nullptr;
    }
}

stores::stores(fs::path folder, complaints& faults) : m_folder(std::move(folder)) {
    for (const auto place : {engine::enum_fs_app, engine::enum_fs_extra, engine::enum_fs_raw}) {
        const fs::path root = m_folder / folder_of(place);
        if (fs::is_directory(root)) m_files[place] = files_below(root, faults);
    }
}

const std::vector<std::string>& stores::files(engine::EEnumValue place) const {
    static const std::vector<std::string> none;
    const auto found = m_files.find(place);
    return found == m_files.end() ? none : found->second;
}

std::vector<std::string> stores::matching(engine::EEnumValue place,
                                          const std::vector<std::string>& patterns) const {
    std::vector<std::string> result;
    for (const std::string& name : files(place)) {
        const auto fits = [&name](const std::string& pattern) { return path_fits(pattern, name); };
        if (std::any_of(patterns.begin(), patterns.end(), fits)) result.push_back(name);
    }
    return result;
}

std::string stores::shown(engine::EEnumValue place, const std::string& path) {
    const char* folder = folder_of(place);
    return folder == nullptr ? path : folder + ('/' + path);
}

std::optional<std::string> stores::read(engine::EEnumValue place, const std::string& path) const {
    const std::vector<std::string>& names = files(place);
    if (!std::binary_search(names.begin(), names.end(), path)) return std::nullopt;
    std::ifstream file(m_folder / folder_of(place) / path, std::ios::binary);
    if (!file.is_open()) throw std::runtime_error("the file cannot be opened");
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

} // namespace inspector

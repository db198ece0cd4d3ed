#include "script_group.h"

#include "failure.h"

#include "core/text.h"

#include <filesystem>
#include <sys/stat.h>

namespace tool {

namespace {

constexpr std::string_view script_ending = ".sc";

std::string text_of(const std::vector<std::uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }

script_group open_package(const std::string& path, const std::string& key_path) {
    if (key_path.empty()) {
        fail_call(path + " does not end in .sc, so it is taken for a package. Give the public key "
                         "by --key.");
    }
    const auto [package, key] = package_and_key(path, key_path);
    const package_view view = open_verified(package, key);
    script_group group{package.name(), {}, std::set<std::wstring>{}};
    for (const member& entry : view.members()) {
        group.files->insert(entry.name);
        if (entry.kind != file_script) continue;
        std::string text;
        read_or_fail(view, entry, package.name(), [&](std::span<const std::uint8_t> bytes) {
            text.append(bytes.begin(), bytes.end());
        });
        const std::string shown = package.name() + ':' + entry.text_name();
        group.scripts.push_back({shown, entry.text_name(), std::move(text)});
    }
    return group;
}

script_group open_file(const std::string& path) {
    const input_file file(path);
    const std::string name =
        path == "-" ? "script.sc" : std::filesystem::path(path).filename().string();
    return {file.name(), {{file.name(), name, file.text()}}, {}};
}

} // namespace

file_lookup script_group::lookup() const {
    if (!files) return {};
    return [&known = *files](const std::string& name, const char* kind) {
        const std::wstring wide = core::decode_path(name);
        if (!known.contains(wide)) return answer_missing;
        const bool is_python = kind == std::string_view("Python");
        return kind_of(wide) == (is_python ? file_python : file_xquery) ? answer_there
                                                                        : answer_other_kind;
    };
}

script_group group_of(const std::string& folder, const source_folder& sources) {
    script_group group{folder, {}, std::set<std::wstring>{}};
    for (const source_file& file : sources.files) {
        group.files->insert(file.wide_name);
        if (kind_of(file.wide_name) == file_script) {
            group.scripts.push_back({file.path, file.name, text_of(read_source(file))});
        }
    }
    return group;
}

script_group open_scripts(const std::string& argument, const std::string& key) {
    file_status status{};
    if (argument != "-" && stat(argument.c_str(), &status) != 0) {
        fail_call(argument + " cannot be read: " + error_text(errno) + ".");
    }
    const bool is_folder = S_ISDIR(status.st_mode);
    const bool is_script = argument == "-" || argument.ends_with(script_ending);
    script_group group = is_folder   ? group_of(argument, list_source_folder(argument, false, {}))
                         : is_script ? open_file(argument)
                                     : open_package(argument, key);
    if (group.scripts.empty()) fail_input(group.shown + " has no script: no file ends in .sc.");
    return group;
}

void install(const script_group& group) {
    std::vector<named_text> scripts;
    for (const group_script& script : group.scripts)
        scripts.emplace_back(script.name, script.text);
    install_scripts(scripts);
}

} // namespace tool

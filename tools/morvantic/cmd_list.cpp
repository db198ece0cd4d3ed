#include "commandline.h"
#include "engine_host.h"
#include "output.h"
#include "package_view.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace tool {

namespace {

struct list_options {
    std::string package;
    std::string key;
    std::string kind = "all";
    bool json = false;
    bool details = false;
};

/// What hosts can ask for: scripts as the engine lists them, the others by the engine's rules.
std::vector<const member*> served_members(const package_view& view, const engine_host& engine) {
    std::vector<const member*> served;
    for (const member& entry : view.members()) {
        const bool reached = entry.kind == file_script ? engine.script_names().contains(entry.name)
                                                       : entry.kind != file_unreached;
        if (reached) served.push_back(&entry);
    }
    return served;
}

std::string method_text(std::uint64_t method) {
    if (method == 0) return "stored";
    if (method == 8) return "deflated";
    return "method " + std::to_string(method);
}

std::string right_aligned(std::uint64_t number, std::size_t width) {
    const std::string text = std::to_string(number);
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

std::string left_aligned(std::string text, std::size_t width) {
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

std::string line_of(const member& entry, bool details) {
    std::string line;
    if (details) {
        line = left_aligned(kind_words[entry.kind], 9) + right_aligned(entry.size, 12) +
               right_aligned(entry.packed_size, 12) + "  " +
               left_aligned(method_text(entry.method), 10);
    }
    return line + output_name(entry.text_name()) + '\n';
}

nlohmann::ordered_json json_of(const member& entry) {
    return {{"name", entry.text_name()},
            {"kind", kind_words[entry.kind]},
            {"size", entry.size},
            {"packed_size", entry.packed_size},
            {"method", method_text(entry.method)}};
}

exit_status list(const list_options& options) {
    const auto [package, key] = package_and_key(options.package, options.key);
    const package_view view = open_verified(package, key);
    const engine_host engine(package, key.path());

    std::string lines;
    auto array = nlohmann::ordered_json::array();
    for (const member* entry : served_members(view, engine)) {
        if (options.kind != "all" && options.kind != kind_words[entry->kind]) continue;
        if (options.json) {
            array.push_back(json_of(*entry));
        } else {
            lines += line_of(*entry, options.details);
        }
    }
    if (options.json) {
        write_json(array);
    } else {
        write_output(lines);
    }
    return status_ok;
}

action define(CLI::App& command) {
    auto options = std::make_shared<list_options>();
    add_package(command, options->package);
    add_public_key(command, options->key);
    command
        .add_option(
            "--kind", options->kind,
            "List one kind alone: script, xquery, python,\nxml or resource. The default is all.")
        ->check(CLI::IsMember({"script", "xquery", "python", "xml", "resource", "all"}))
        ->type_name("KIND");
    command.add_flag("-l,--long", options->details,
                     "Kind, size, size in the package and compression\nin front of each name.");
    add_json(command, options->json);
    add_notes(
        command,
        "Verifies the package and lists what the engine serves from it. Files without a known\n"
        "ending outside the folder Resources are in the package but not served.\n\n"
        "Examples:\n"
        "  morvantic list apps.pkg --key public.pem --kind script\n"
        "  morvantic list apps.pkg --key public.pem --json");
    return with_options(std::move(options), list);
}

} // namespace

const subcommand list_command = {"list", "List the files that the engine serves from a package.",
                                 define};

} // namespace tool

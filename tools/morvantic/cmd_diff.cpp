#include "commandline.h"
#include "digest.h"
#include "header_report.h"
#include "output.h"
#include "package_view.h"

#include "morvanticshared/packageverification.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

namespace tool {

namespace {

struct diff_options {
    std::string old_package;
    std::string new_package;
    std::string key;
    std::string old_key;
    bool json = false;
};

/// What a package holds, to be compared.
struct package_content {
    std::map<std::string, header_field> fields;
    std::vector<std::string> field_order;
    std::map<std::string, std::vector<std::uint8_t>> files; // digests by names
    std::map<std::string, file_kind> kinds;
};

/// What differs by nature, or says the same once more.
bool is_compared(std::string_view field) {
    return field.find("signature") == std::string_view::npos &&
           field.find("payload") == std::string_view::npos;
}

package_content content_of(const std::string& package_path, const std::string& key_path) {
    const auto [package, key] = package_and_key(package_path, key_path);
    const package_view view = open_verified(package, key);
    package::package_fault fault = package::fault_none;
    const auto header = package::read_header(*package.open(), fault);
    package_content content;
    for (const header_field& field : describe(*header, package)) {
        if (!is_compared(field.name)) continue;
        content.fields.emplace(field.name, field);
        content.field_order.emplace_back(field.name);
    }
    for (const member& entry : view.members()) {
        const std::string name = entry.text_name();
        content.files.emplace(name, digest_of_read([&, &from = package](const byte_sink& sink) {
                                  read_or_fail(view, entry, from.name(), sink);
                              }));
        content.kinds.emplace(name, entry.kind);
    }
    return content;
}

struct field_change {
    std::string name;
    std::optional<header_field> before; // not every package has each
    header_field after;
};

struct file_change {
    std::string name;
    file_kind kind;
    const char* how; // "added", "removed", "changed"
};

struct differences {
    std::vector<field_change> fields;
    std::vector<file_change> files; // scripts first, then by their names
};

differences compare(const package_content& before, const package_content& after) {
    differences found;
    for (const std::string& name : after.field_order) {
        const auto old_field = before.fields.find(name);
        const header_field& new_field = after.fields.at(name);
        if (old_field == before.fields.end()) {
            found.fields.push_back({name, {}, new_field});
        } else if (old_field->second.value != new_field.value) {
            found.fields.push_back({name, old_field->second, new_field});
        }
    }
    std::set<std::string> names;
    for (const package_content* side : {&before, &after}) {
        for (const auto& [name, digest] : side->files)
            names.insert(name);
    }
    for (const std::string& name : names) {
        const auto old_file = before.files.find(name);
        const auto new_file = after.files.find(name);
        if (old_file == before.files.end()) {
            found.files.push_back({name, after.kinds.at(name), "added"});
        } else if (new_file == after.files.end()) {
            found.files.push_back({name, before.kinds.at(name), "removed"});
        } else if (old_file->second != new_file->second) {
            found.files.push_back({name, after.kinds.at(name), "changed"});
        }
    }
    std::stable_partition(found.files.begin(), found.files.end(),
                          [](const file_change& file) { return file.kind == file_script; });
    return found;
}

void write_text(const differences& found) {
    std::string text;
    for (const field_change& field : found.fields)
        text += field.name + ": " + (field.before ? field.before->text : "") + " -> " +
                field.after.text + '\n';
    for (const file_change& file : found.files) {
        text += file.how + std::string(9 - std::string_view(file.how).size(), ' ') +
                kind_words[file.kind] + ' ' + printable(file.name) + '\n';
    }
    write_output(text.empty() ? "The packages hold the same.\n" : text);
}

void write_as_json(const differences& found) {
    nlohmann::ordered_json fields = nlohmann::ordered_json::array();
    for (const field_change& field : found.fields) {
        nlohmann::ordered_json row = {{"field", field.name}, {"old", nullptr}};
        if (field.before) row["old"] = field.before->value;
        row["new"] = field.after.value;
        fields.push_back(std::move(row));
    }
    nlohmann::ordered_json files = nlohmann::ordered_json::array();
    for (const file_change& file : found.files) {
        files.push_back(
            {{"name", file.name}, {"kind", kind_words[file.kind]}, {"change", file.how}});
    }
    write_json({{"fields", std::move(fields)}, {"files", std::move(files)}});
}

exit_status diff(const diff_options& options) {
    const std::string& old_key = options.old_key.empty() ? options.key : options.old_key;
    const differences found = compare(content_of(options.old_package, old_key),
                                      content_of(options.new_package, options.key));
    if (options.json) {
        write_as_json(found);
    } else {
        write_text(found);
    }
    return status_ok;
}

action define(CLI::App& command) {
    auto options = std::make_shared<diff_options>();
    command.add_option("OLD", options->old_package, "A package.")->required();
    command.add_option("NEW", options->new_package, "A later one.")->required();
    add_public_key(command, options->key);
    command
        .add_option("--old-key", options->old_key,
                    "The public key of OLD; the default is that of NEW.")
        ->type_name("FILE");
    add_json(command, options->json);
    add_notes(command,
              "Verifies both packages and lists the fields of the header that differ, and the\n"
              "scripts and other files that were added, removed or changed.\n\n"
              "Exit status 0, whether they differ or not.\n\n"
              "Example:\n"
              "  morvantic diff apps-1.pkg apps-2.pkg --key public.pem");
    return with_options(std::move(options), diff);
}

} // namespace

const subcommand diff_command = {"diff", "Compare two packages.", define};

} // namespace tool

#include "checks.h"
#include "commandline.h"
#include "header_report.h"
#include "output.h"
#include "package_view.h"
#include "script_look.h"

#include "morvanticshared/packageverification.h"

namespace tool {

namespace {

struct info_options {
    std::string package;
    bool apps = false;
    bool json = false;
};

struct info_result {
    std::vector<header_field> fields;
    bool stamp_valid = false;
    std::uint64_t file_size = 0;
    std::optional<package_view> view; // empty if the encryption is unknown
    std::string archive_problem;      // what keeps the members from being counted, if anything
};

/// The members, if the payload can be looked into without verification.
void look_into(info_result& result, core::input_stream_ptr stream, const package::CHeader& header,
               const std::string& name) {
    if (!package::key_size_of(header.encryption_type())) {
        result.archive_problem = package::fault_text(package::fault_encryption_unknown);
        return;
    }
    stream->set_pos(package::MVE_PACKAGE_HEADER_SIZE);
    stream->mark_begin();
    try {
        result.view.emplace(package::payload_stream(std::move(stream), header), name);
    } catch (const failure& problem) {
        result.archive_problem = problem.what();
        return;
    }
    result.archive_problem = archive_problem(*result.view);
}

info_result gather(const input_file& package) {
    core::input_stream_ptr stream = package.open();
    package::package_fault fault = package::fault_none;
    const std::unique_ptr<package::CHeader> header = package::read_header(*stream, fault);
    if (!header) fail_input(fault_message(fault, package));
    info_result result;
    result.fields = describe(*header, package);
    result.stamp_valid = header->stamp().valid;
    result.file_size = stream->size();
    look_into(result, std::move(stream), *header, package.name());
    return result;
}

void write_as_json(const input_file& package, const info_result& result) {
    nlohmann::ordered_json object = {{"file", package.name()},
                                     {"file_size", result.file_size},
                                     {"verified", false},
                                     {"fields", json_of(result.fields)},
                                     {"stamp_valid", result.stamp_valid}};
    object["members"] = result.view ? counts_json(result.view->counts()) : nullptr;
    object["archive_problem"] = nullptr;
    if (!result.archive_problem.empty()) object["archive_problem"] = result.archive_problem;
    write_json(object);
}

void write_as_text(const input_file& package, const info_result& result) {
    std::string text = output_name(package.name()) + ": " + counted(result.file_size, "byte") +
                       "\n\n" + table_of(result.fields) + '\n';
    if (result.view && result.view->is_archive()) {
        text += "The archive holds " + counts_text(result.view->counts()) + ".\n";
    }
    if (!result.archive_problem.empty()) text += printable(result.archive_problem) + '\n';
    write_output(text + "Nothing was verified: use \"morvantic verify\" before you trust any of "
                        "this.\n");
}

/// The apps that the scripts name: all of them or none.
exit_status write_apps(const input_file& package, const info_result& result) {
    if (!result.view || !result.archive_problem.empty()) {
        fail_input(package.name() + ": " + result.archive_problem);
    }
    app_set apps;
    for (const member& entry : result.view->members()) {
        if (entry.kind != file_script) continue;
        std::string text;
        read_or_fail(*result.view, entry, package.name(), [&](std::span<const std::uint8_t> bytes) {
            text.append(bytes.begin(), bytes.end());
        });
        apps.merge(apps_of(text));
    }
    write_output(app_list(apps));
    return status_ok;
}

exit_status info(const info_options& options) {
    if (options.apps && options.json) fail_call("--apps prints a list, not JSON.");
    const input_file package(options.package);
    const info_result result = gather(package);
    if (options.apps) return write_apps(package, result);
    if (options.json) {
        write_as_json(package, result);
    } else {
        write_as_text(package, result);
    }
    return status_ok;
}

action define(CLI::App& command) {
    auto options = std::make_shared<info_options>();
    add_package(command, options->package);
    command.add_flag("--apps", options->apps,
                     "Print the apps that the scripts name and nothing else,\n"
                     "as a list for \"morvantic coverage --apps\".");
    add_json(command, options->json);
    add_notes(
        command,
        "Needs no key, verifies nothing, and goes as far as a damaged package lets it. Of each\n"
        "field it says whether the signature covers it: the others can be changed by anybody\n"
        "without harm to the signature.\n\n"
        "Example:\n"
        "  morvantic info apps.pkg");
    return with_options(std::move(options), info);
}

} // namespace

const subcommand info_command = {"info", "Show what a package says about itself.", define};

} // namespace tool

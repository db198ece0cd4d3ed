#include "commandline.h"
#include "output.h"
#include "package_view.h"

namespace tool {

namespace {

struct cat_options {
    std::string package;
    std::string name;
    std::string key;
};

exit_status cat(const cat_options& options) {
    const auto [package, key] = package_and_key(options.package, options.key);
    const package_view view = open_verified(package, key);
    const member& entry = served_member(view, options.name, package.name());
    // Looked at as a whole first: on a failure there is no output.
    read_or_fail(view, entry, package.name(), {});
    view.read(entry, [](std::span<const std::uint8_t> bytes) { write_output(bytes); });
    return status_ok;
}

action define(CLI::App& command) {
    auto options = std::make_shared<cat_options>();
    add_package(command, options->package);
    command
        .add_option("NAME", options->name, "The file's whole name, as \"morvantic list\" shows it.")
        ->required();
    add_public_key(command, options->key);
    add_notes(command,
              "Verifies the package first. The bytes come out exactly as they were packed.\n\n"
              "Example:\n"
              "  morvantic cat apps.pkg android/mail.sc --key public.pem");
    return with_options(std::move(options), cat);
}

} // namespace

const subcommand cat_command = {"cat", "Write one file of a package to standard output.", define};

} // namespace tool

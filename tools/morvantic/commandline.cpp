#include "commandline.h"

#include <algorithm>

namespace tool {

namespace {

class formatter : public CLI::Formatter {
public:
    formatter() {
        column_width(26);
        label("Positionals", "Arguments");
        label("SUBCOMMAND", "COMMAND [ARGUMENT...]");
        label("OPTIONS", "OPTION...");
    }

    std::string make_help(const CLI::App* app, std::string name,
                          CLI::AppFormatMode mode) const override {
        return make_usage(app, name) + '\n' + app->get_description() + '\n' +
               make_positionals(app) + make_groups(app, mode) + make_subcommands(app, mode) + '\n' +
               make_footer(app);
    }

    std::string make_usage(const CLI::App* app, std::string name) const override {
        std::string usage = CLI::Formatter::make_usage(app, std::move(name));
        usage.erase(usage.find_last_not_of('\n') + 1);
        std::string required;
        for (const CLI::Option* option : app->get_options()) {
            if (!option->get_required() || option->get_positional()) continue;
            required += option->get_name() + ' ' + option->get_type_name() + ' ';
        }
        return usage.insert(std::min(usage.find('['), usage.size()), required) + '\n';
    }

    std::string make_option_name(const CLI::Option* option, bool positional) const override {
        std::string name = CLI::Formatter::make_option_name(option, positional);
        const std::size_t comma = name.find(',');
        return comma == std::string::npos ? name : name.insert(comma + 1, " ");
    }

    /// The type alone, without the list of values that follows it.
    std::string make_option_opts(const CLI::Option* option) const override {
        if (option->get_type_size() == 0 || option->get_positional()) return {};
        const std::string type = option->get_type_name();
        return ' ' + type.substr(0, type.find(':'));
    }
};

} // namespace

void add_package(CLI::App& command, std::string& package) {
    command.add_option("PACKAGE", package, "The package file; - is standard input.")->required();
}

void add_public_key(CLI::App& command, std::string& key) {
    command
        .add_option("--key", key,
                    "The public key to verify with, an RSA key\nas PEM; - is standard input.")
        ->required()
        ->type_name("FILE");
}

void add_package_key(CLI::App& command, std::string& key) {
    command
        .add_option(
            "--key", key,
            "The public key to verify a package with; for\nscripts and folders there is none.")
        ->type_name("FILE");
}

void add_json(CLI::App& command, bool& json) {
    command.add_flag("--json", json, "Write JSON, for programs to read.");
}

void add_notes(CLI::App& command, const std::string& notes) { command.footer(notes); }

std::shared_ptr<CLI::Formatter> help_formatter() { return std::make_shared<formatter>(); }

} // namespace tool

#include "commandline.h"
#include "input_file.h"
#include "output.h"
#include "script_format.h"
#include "temporary_file.h"

namespace tool {

namespace {

struct format_options {
    std::vector<std::string> files;
    bool check = false;
};

exit_status format(const format_options& options) {
    bool differs = false;
    for (const std::string& path : options.files) {
        const input_file file(path);
        const std::string text = file.text();
        const std::string result = formatted(text, file.name());
        if (options.check) {
            if (result == text) continue;
            differs = true;
            error_message(file.name() + " is not formatted.");
        } else if (path == "-") {
            write_output(result);
        } else if (result != text) {
            replace_text(path, result);
            write_output(output_name(path) + '\n');
        }
    }
    return differs ? status_input : status_ok;
}

action define(CLI::App& command) {
    auto options = std::make_shared<format_options>();
    command
        .add_option("FILE", options->files,
                    "Scripts to be rewritten; - reads standard input and\n"
                    "writes standard output.")
        ->required();
    command.add_flag("--check", options->check,
                     "Rewrite nothing; exit status 1 if something would be.");
    add_notes(command,
              "Brings scripts into one layout: a statement a line, four blanks for each brace,\n"
              "comments where they were, lines of up to 100 characters. The engine makes the same\n"
              "of a script before and after. Prints the names of the files that have changed.\n\n"
              "Examples:\n"
              "  morvantic format apps/*.sc\n"
              "  morvantic format - < mail.sc | diff mail.sc -");
    return with_options(std::move(options), format);
}

} // namespace

const subcommand format_command = {"format", "Bring scripts into one layout.", define};

} // namespace tool

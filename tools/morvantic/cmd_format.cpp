#include "commandline.h"
#include "failure.h"
#include "input_file.h"
#include "output.h"
#include "script_format.h"
#include "temporary_file.h"

#include <algorithm>

namespace tool {

namespace {

struct format_options {
    std::vector<std::string> files;
    bool check = false;
};

/// Whether the file is as it should be, or was made so.
bool format_file(const std::string& path, bool check) {
    const input_file file(path);
    const std::string text = file.text();
    const std::string result = formatted(text, file.name());
    if (check) {
        if (result != text) error_message(file.name() + " is not formatted.");
        return result == text;
    }
    if (path == "-") {
        write_output(result);
    } else if (result != text) {
        replace_text(path, result);
        write_output(output_name(path) + '\n');
    }
    return true;
}

exit_status format(const format_options& options) {
    exit_status status = status_ok;
    for (const std::string& path : options.files) {
        try {
            if (!format_file(path, options.check)) status = std::max(status, status_input);
        } catch (const failure& failed) { // the others are formatted all the same
            error_message(failed.what());
            status = std::max(status, failed.status());
        }
    }
    return status;
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

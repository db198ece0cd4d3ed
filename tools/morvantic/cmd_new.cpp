#include "commandline.h"
#include "output.h"
#include "script_report.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <system_error>

namespace tool {

namespace {

struct new_options {
    std::string app;
    std::vector<std::string> platforms;
    std::string folder = ".";
};

constexpr std::string_view script_text = R"(// What of @ is read, and how.

::App::Header::{
    Package {
        names = "@";
        platforms = %;
        namespaces = "Main";
    }
}

::App::Include::{
    values = Python {
        path = "python/$.py";
    }
    XQuery {
        path = "xquery/@.xq";
    }
}

::Main::Script::{
    items = SqliteAnalyzer<>(fs.App, "databases/items.db") {
        const table = "items";

        functionOnColumn(table, "created", values::readable(1000));
    }
}
)";

constexpr std::string_view python_text = R"("""Values of @ in a readable form."""


def readable(value, scale):
    """A count of 1/scale seconds as whole seconds."""
    return int(value) // scale
)";

constexpr std::string_view xquery_text = R"(xquery version "3.1";

(: What is told of the items of @. :)
.//items
)";

/// An app's name as that of a Python module.
std::string module_name(std::string app) {
    std::replace_if(
        app.begin(), app.end(), [](char byte) { return byte == '.' || byte == '-'; }, '_');
    return app;
}

/// A text with the app in place of each "@", its module in place of "$" and the platforms in place
/// of "%".
std::string filled(std::string_view text, const std::string& app, const std::string& platforms) {
    std::string result;
    for (const char byte : text) {
        if (byte == '@') {
            result += app;
        } else if (byte == '$') {
            result += module_name(app);
        } else if (byte == '%') {
            result += platforms;
        } else {
            result += byte;
        }
    }
    return result;
}

void write_new(const std::filesystem::path& path, const std::string& text) {
    const descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file.is_open()) fail_call(path.string() + " cannot be made: " + error_text(errno) + ".");
    write_all(file.number(), {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    write_output(output_name(path.string()) + '\n');
}

/// It becomes part of file names and stands in strings and comments.
void check_app(const std::string& app) {
    constexpr std::string_view plain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._";
    if (!app.empty() && app.find_first_not_of(plain) == std::string::npos && app[0] != '.' &&
        app[0] != '-') {
        return;
    }
    fail_call("\"" + app +
              "\" cannot be a file's name too. Use letters, digits, \".\", \"-\" and \"_\", and "
              "mend the name in the script.");
}

exit_status make_new(const new_options& options) {
    namespace fs = std::filesystem;
    check_app(options.app);
    std::string words;
    for (const platform_name& platform : platforms) {
        const auto& chosen = options.platforms;
        if (!chosen.empty() &&
            std::find(chosen.begin(), chosen.end(), platform.name) == chosen.end()) {
            continue;
        }
        words += (words.empty() ? "platform." : ", platform.") + std::string(platform.name);
    }
    const fs::path folder = options.folder;

    const struct {
        fs::path path;
        std::string_view text;
    } files[] = {{folder / (options.app + ".sc"), script_text},
                 {folder / "python" / (module_name(options.app) + ".py"), python_text},
                 {folder / "xquery" / (options.app + ".xq"), xquery_text}};

    try {
        for (const auto& file : files) {
            if (fs::exists(file.path)) fail_call(file.path.string() + " is there already.");
        }
        for (const auto& file : files) {
            fs::create_directories(file.path.parent_path());
            write_new(file.path, filled(file.text, options.app, words));
        }
    } catch (const std::system_error& error) {
        fail_call(std::string(error.what()) + ".");
    }
    return status_ok;
}

action define(CLI::App& command) {
    auto options = std::make_shared<new_options>();
    command.add_option("APP-ID", options->app, "The app's package name, as com.example.mail.")
        ->required();
    command
        .add_option("--platform", options->platforms,
                    "A platform that the app runs on: Android, iOS,\n"
                    "WindowsPhone or Blackberry; may be repeated. The\ndefault is all.")
        ->allow_extra_args(false)
        ->transform(CLI::IsMember(platform_words(), CLI::ignore_case))
        ->type_name("PLATFORM");
    command.add_option("--folder", options->folder, "Where; the default is here.")
        ->type_name("FOLDER");
    add_notes(command,
              "Makes a script with a Header, an Include and a Script section, and the Python and\n"
              "XQuery files that it names. Prints what it has made, and replaces nothing.\n\n"
              "Example:\n"
              "  morvantic new com.example.mail --platform Android --folder apps\n"
              "  morvantic check apps");
    return with_options(std::move(options), make_new);
}

} // namespace

const subcommand new_command = {"new", "Make a script to begin with.", define};

} // namespace tool

// The command "morvantic": a table of subcommands, and what holds for all of them.

#include "commandline.h"
#include "output.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <new>
#include <unistd.h>
#include <vector>

namespace {

using namespace tool;

constexpr std::array subcommands = {
    &new_command,  &check_command,    &format_command, &test_command, &keygen_command,
    &pack_command, &info_command,     &verify_command, &list_command, &cat_command,
    &dump_command, &coverage_command, &diff_command,
};

/// A standard descriptor that the caller closed would be given to the next file that is opened.
/// Each is taken by one that cannot be used in its place.
void occupy_standard_descriptors() {
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(number, F_GETFD) >= 0) continue;
        static_cast<void>(open("/dev/null", number == STDIN_FILENO ? O_WRONLY : O_RDONLY));
    }
}

/// Writing beyond a size limit and writing to nobody become plain errors, so that what was begun is
/// cleaned up.
void turn_signals_into_errors() {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

int end_like_any_writer_to_a_closed_pipe() {
    std::signal(SIGPIPE, SIG_DFL);
    std::raise(SIGPIPE);
    return status_call; // only if the signal is blocked
}

/// "morvantic pack", or "morvantic" if no subcommand was recognised.
std::string full_name(const CLI::App& app) {
    std::string name = "morvantic";
    for (const CLI::App* command : app.get_subcommands())
        name += ' ' + command->get_name();
    return name;
}

std::string words_for(const CLI::ParseError& error, const CLI::App& app) {
    const std::vector<std::string> unknown = app.remaining();
    const bool no_command = app.get_subcommands().empty() && !unknown.empty();
    return no_command ? "There is no command or option " + unknown[0] : error.what();
}

int run(int argument_count, const char* const* arguments) {
    CLI::App app("Makes, examines and reads script packages.", "morvantic");
    app.formatter(help_formatter());
    app.set_help_flag("-h,--help", "Show this help.");
    app.set_version_flag("--version", "morvantic " MORVANTIC_VERSION, "Show the version.");
    app.require_subcommand(1);
    app.footer(
        "\"morvantic COMMAND --help\" tells more of a command.\n\n"
        "Data go to standard output, messages to standard error. Exit status:\n"
        "  0  all is well\n"
        "  1  the input is at fault: a package, a key, a script, or one that is not as recorded\n"
        "  2  the call is at fault: an option, or a file that cannot be opened or written");

    std::vector<std::pair<CLI::App*, action>> actions;
    for (const subcommand* row : subcommands) {
        CLI::App* command = app.add_subcommand(row->name, row->summary);
        actions.emplace_back(command, row->define(*command));
    }
    try {
        app.parse(argument_count, arguments);
    } catch (const CLI::CallForVersion& call) {
        write_output(std::string(call.what()) + '\n');
        return status_ok;
    } catch (const CLI::Success&) {
        write_output(app.help("", CLI::AppFormatMode::Normal));
        return status_ok;
    } catch (const CLI::ParseError& error) {
        const std::string command = full_name(app);
        set_message_prefix(command);
        fail_call(words_for(error, app) + ". Try \"" + command + " --help\".");
    }
    for (const auto& [command, work] : actions) {
        if (!command->parsed()) continue;
        set_message_prefix(full_name(app));
        return work();
    }
    return status_call;
}

} // namespace

int main(int argument_count, char** arguments) {
    occupy_standard_descriptors();
    turn_signals_into_errors();
    try {
        return run(argument_count, arguments);
    } catch (const output_closed&) {
        return end_like_any_writer_to_a_closed_pipe();
    } catch (const failure& failed) {
        error_message(failed.what());
        return failed.status();
    } catch (const std::bad_alloc&) {
        error_message("There is not enough memory.");
    } catch (const std::exception& error) {
        error_message(error.what());
    }
    return status_input;
}

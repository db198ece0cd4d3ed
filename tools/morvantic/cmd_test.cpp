#include "child_report.h"
#include "commandline.h"
#include "output.h"
#include "script_group.h"
#include "source_folder.h"
#include "temporary_file.h"

#include "core/text.h"

#include <algorithm>
#include <filesystem>
#include <regex>
#include <sstream>

// A script's transcript is what "morvantic dump" shows of it, in a file beside it.

namespace tool {

namespace {

struct test_options {
    std::string folder;
    bool update = false;
};

std::string transcript_path(const std::string& script) {
    return std::filesystem::path(script).replace_extension(".transcript").string();
}

std::optional<std::string> read_if_there(const std::string& path) {
    std::error_code error;
    if (!std::filesystem::exists(path, error)) return {};
    return input_file(path).text();
}

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/// The first lines that differ.
std::string difference(const std::string& expected, const std::string& found) {
    const std::vector<std::string> left = lines_of(expected);
    const std::vector<std::string> right = lines_of(found);
    const auto [one, other] = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
    const auto line = [](const char* sign, auto at, const std::vector<std::string>& lines) {
        return sign + (at == lines.end() ? std::string("(nothing)") : printable(*at)) + '\n';
    };
    return "  in line " + std::to_string(one - left.begin() + 1) + " of the transcript:\n" +
           line("  - ", one, left) + line("  + ", other, right);
}

/// Line and column of messages go out: they say nothing of what a script does, and change with its
/// layout.
std::string without_places(const std::string& text) {
    static const std::regex place("\\([0-9]+, [0-9]+\\)");
    std::string result;
    for (const std::string& line : lines_of(text)) {
        const std::string_view words = std::string_view(line).substr(line.find_first_not_of(' '));
        const bool is_message = words.starts_with("log ") || words.starts_with("Callstack: ");
        result += (is_message ? std::regex_replace(line, place, "") : line) + '\n';
    }
    return result;
}

/// Says what there is to say; false if the script does not play as its transcript has it.
bool play(const group_script& script, bool update) {
    const child_report report =
        report_in_child(core::decode_path(script.name), script.text, {},
                        [](const script_report& read) { return without_places(text_of(read)); });
    if (!report.fault.empty()) {
        error_message(script.shown + ": " + report.fault);
        return false;
    }
    const std::string path = transcript_path(script.shown);
    const std::optional<std::string> expected = read_if_there(path);
    if (expected == report.written) return true;
    if (update) {
        replace_text(path, report.written);
        write_output(output_name(path) + " is written" +
                     (report.has_errors ? ", with errors.\n" : ".\n"));
        return true;
    }
    if (!expected) {
        error_message(script.shown + " has no transcript. --update writes it.");
        return false;
    }
    error_message(script.shown + " differs from its transcript:");
    error_text_block(difference(*expected, report.written));
    return false;
}

/// Transcripts whose scripts are gone.
std::size_t tell_orphans(const std::string& folder) {
    std::size_t count = 0;
    for (const source_file& file : list_source_folder(folder, false, {}).files) {
        std::filesystem::path path = file.path;
        if (path.extension() != ".transcript") continue;
        if (std::filesystem::exists(path.replace_extension(".sc"))) continue;
        error_message(file.path + " has no script.");
        ++count;
    }
    return count;
}

exit_status test(const test_options& options) {
    if (!std::filesystem::is_directory(options.folder)) {
        fail_call(options.folder + " is no folder.");
    }
    const script_group group = open_scripts(options.folder, "");
    install(group);
    std::size_t differing = 0;
    for (const group_script& script : group.scripts)
        differing += play(script, options.update) ? 0 : 1;
    const std::string all = counted(group.scripts.size(), "script");
    const bool has_orphans = tell_orphans(options.folder) != 0;
    if (differing == 0) {
        write_output(all + " as recorded.\n");
        return has_orphans ? status_input : status_ok;
    }
    write_output(std::to_string(differing) + " of " + all + " not as recorded." +
                 (options.update ? "\n" : " --update records what can be read.\n"));
    return status_input;
}

action define(CLI::App& command) {
    auto options = std::make_shared<test_options>();
    command.add_option("FOLDER", options->folder, "The folder with the scripts.")->required();
    command.add_flag("--update", options->update, "Write the transcripts that differ or miss.");
    add_notes(
        command,
        "Has the engine read each script and compares what it delivers and logs with the\n"
        "transcript beside the script: mail.transcript for mail.sc. A transcript is what\n"
        "\"morvantic dump\" shows of a script, without the places of messages. Look at what\n"
        "--update has changed before you keep it. Packages leave transcripts out.\n\n"
        "Exit status 1 if a script does not play as recorded, or a transcript has no script.\n\n"
        "Examples:\n"
        "  morvantic test apps --update\n"
        "  morvantic test apps");
    return with_options(std::move(options), test);
}

} // namespace

const subcommand test_command = {"test", "Compare scripts with their transcripts.", define};

} // namespace tool

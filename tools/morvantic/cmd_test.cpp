#include "child_report.h"
#include "commandline.h"
#include "output.h"
#include "script_group.h"
#include "temporary_file.h"

#include "core/text.h"

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <system_error>

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
    const input_file file(path);
    const core::input_stream_ptr stream = file.open();
    return stream->read_string(stream->size());
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

void write_transcript(const std::string& path, const std::string& text) {
    try {
        temporary_file file(std::filesystem::path(path).parent_path().string());
        write_all(file.number(), {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
        file.publish(path, true);
    } catch (const std::system_error& error) {
        fail_call(path + " cannot be written: " + error.code().message() + ".");
    }
}

/// Says what there is to say; false if the script does not play as its transcript has it.
bool play(const group_script& script, bool update) {
    const child_report report =
        report_in_child(core::decode_path(script.name), script.text, {},
                        [](const script_report& read) { return text_of(read); });
    if (!report.fault.empty()) {
        error_message(script.shown + ": " + report.fault);
        return false;
    }
    const std::string path = transcript_path(script.shown);
    const std::optional<std::string> expected = read_if_there(path);
    if (expected == report.written) return true;
    if (update) {
        write_transcript(path, report.written);
        write_output(output_name(path) + " is written.\n");
        return true;
    }
    if (!expected) {
        error_message(script.shown + " has no transcript. --update writes it.");
        return false;
    }
    error_message(script.shown + " differs from its transcript");
    error_text_block(difference(*expected, report.written));
    return false;
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
    if (differing == 0) {
        write_output(all + " as recorded.\n");
        return status_ok;
    }
    write_output(std::to_string(differing) + " of " + all +
                 " not as recorded. --update records them anew.\n");
    return status_input;
}

action define(CLI::App& command) {
    auto options = std::make_shared<test_options>();
    command.add_option("FOLDER", options->folder, "The folder with the scripts.")->required();
    command.add_flag("--update", options->update, "Write the transcripts that differ or miss.");
    add_notes(command,
              "Has the engine read each script and compares what it delivers and logs with the\n"
              "transcript beside the script: mail.transcript for mail.sc. A transcript is what\n"
              "\"morvantic dump\" shows of a script. Look at what --update has changed before you\n"
              "keep it. Packages leave transcripts out.\n\n"
              "Exit status 1 if a script does not play as recorded.\n\n"
              "Examples:\n"
              "  morvantic test apps --update\n"
              "  morvantic test apps");
    return with_options(std::move(options), test);
}

} // namespace

const subcommand test_command = {"test", "Compare scripts with their transcripts.", define};

} // namespace tool

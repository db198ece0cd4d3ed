#include "commandline.h"
#include "output.h"
#include "script_check.h"

#include <algorithm>

namespace tool {

namespace {

struct check_options {
    std::vector<std::string> inputs;
    std::string key;
    std::vector<std::string> off;
    std::string explained;
    bool codes = false;
    bool strict = false;
    bool json = false;
    bool sarif = false;
};

const finding_kind& known_code(const std::string& code) {
    const finding_kind* kind = kind_of_code(code);
    if (kind != nullptr) return *kind;
    fail_call("There is no code \"" + code + "\". \"morvantic check --codes\" lists them.");
}

exit_status list_codes() {
    std::string text;
    for (const auto kinds : {engine_kinds(), text_kinds()}) {
        for (const finding_kind& kind : kinds) {
            std::string code = kind.code;
            code.resize(std::max<std::size_t>(code.size(), 26) + 1, ' ');
            std::string severity = severity_words[kind.severity];
            severity.resize(9, ' ');
            text.append(code).append(severity).append(kind.message) += '\n';
        }
    }
    write_output(text);
    return status_ok;
}

exit_status explain(const finding_kind& kind) {
    std::string text = std::string(kind.code) + " (" + severity_words[kind.severity] + ")\n" +
                       "Message:  " + kind.message + "\nCause:    " + kind.cause +
                       "\nRemedy:   " + kind.remedy + '\n';
    if (*kind.example != '\0') {
        text += "Example:\n";
        std::string line;
        for (const char byte : example_script(kind) + '\n') {
            line += byte;
            if (byte != '\n') continue;
            line.pop_back();
            text += "    " + printable(line) + '\n';
            line.clear();
        }
    }
    write_output(text);
    return status_ok;
}

exit_status run_check(const check_options& options) {
    if (options.codes) return list_codes();
    if (!options.explained.empty()) return explain(known_code(options.explained));
    if (options.inputs.empty()) fail_call("Give a script, a folder or a package to check.");
    std::set<std::string> off;
    for (const std::string& code : options.off)
        off.insert(known_code(code).code);

    std::vector<script_group> groups;
    groups.reserve(options.inputs.size()); // the findings look into them
    std::vector<script_findings> all;
    for (const std::string& input : options.inputs) {
        groups.push_back(open_scripts(input, options.key));
        for (script_findings& of : check(groups.back(), off)) {
            if (!options.json && !options.sarif) write_output(text_of(of));
            all.push_back(std::move(of));
        }
    }
    write_output(options.json ? json_of(all) : options.sarif ? sarif_of(all) : summary_of(all));
    const finding_counts counts = count(all);
    const bool fails =
        counts[severity_error] != 0 || (options.strict && counts[severity_warning] != 0);
    return fails ? status_input : status_ok;
}

action define(CLI::App& command) {
    auto options = std::make_shared<check_options>();
    command.add_option("INPUT", options->inputs,
                       "Scripts (.sc, or - for standard input), folders to be\n"
                       "packed, or packages.");
    add_package_key(command, options->key);
    command
        .add_option("--off", options->off,
                    "Leave out findings of this code, or of several with\n"
                    "commas between them; may be repeated.")
        ->allow_extra_args(false)
        ->delimiter(',')
        ->type_name("CODE");
    command.add_flag("--strict", options->strict, "Exit status 1 on warnings too.");
    auto* json = command.add_flag("--json", options->json, "Print as JSON.");
    command.add_flag("--sarif", options->sarif, "Print as SARIF 2.1.0.")->excludes(json);
    auto* codes = command.add_flag("--codes", options->codes, "List all codes.");
    command
        .add_option("--explain", options->explained, "Tell cause, remedy and an example of one.")
        ->excludes(codes)
        ->type_name("CODE");
    add_notes(
        command,
        "Looks at the text for what the engine chokes on or passes over in silence, and has\n"
        "the engine read each script as hosts do. Prints a line for each finding,\n"
        "\"file:line:column: severity: message [code]\", with the true place. Where the\n"
        "engine's log names another one, that follows the message. Files that scripts name\n"
        "are looked for in the folder or package that is checked, so not for a script alone.\n\n"
        "A comment in a script switches codes off for that script:\n"
        "  // morvantic-check-off: version-ignored, app-repeated\n\n"
        "Exit status 1 if there is an error.\n\n"
        "Examples:\n"
        "  morvantic check mail.sc\n"
        "  morvantic check apps --strict\n"
        "  morvantic check apps.pkg --key public.pem --sarif > findings.sarif");
    return with_options(std::move(options), run_check);
}

} // namespace

const subcommand check_command = {"check", "Find mistakes in scripts.", define};

} // namespace tool

#include "child_report.h"
#include "commandline.h"
#include "output.h"
#include "script_group.h"

#include "core/text.h"

#include <array>
#include <iomanip>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <strings.h>

namespace tool {

namespace {

struct coverage_options {
    std::string input;
    std::string key;
    std::string apps;
    bool json = false;
};

/// The scripts that fit an app on a platform, in the order in which hosts ask them: the first one
/// serves, the others are in its shadow.
using scripts_by_platform = std::map<std::string, std::vector<std::string>>;

struct coverage_report {
    std::map<std::string, scripts_by_platform> apps;
    std::vector<std::string> unserved; // of the list
    bool has_faults = false;
};

/// One of a list: an app, and a platform or all.
using listed_app = std::pair<std::string, std::string>;

/// The platform whose name this is in whatever case, as it is spelled in scripts.
std::string platform_named(const std::string& word, const std::string& path) {
    for (const std::string& known : platform_words()) {
        if (strcasecmp(known.c_str(), word.c_str()) == 0) return known;
    }
    fail_input(path + ": There is no platform " + word + '.');
}

/// A line each: an app, in double quotes if need be, then a platform if it matters. "#" begins a
/// comment.
std::set<listed_app> read_list(const std::string& path) {
    std::istringstream lines(input_file(path).text());
    std::set<listed_app> apps;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        auto [app, platform, more] = std::array<std::string, 3>();
        if (!(words >> std::quoted(app)) || app.starts_with('#')) continue;
        const auto next = [&](std::string& word) {
            if (!(words >> word) || word.starts_with('#')) word.clear();
            return !word.empty();
        };
        if (next(platform)) platform = platform_named(platform, path);
        if (!platform.empty() && next(more)) {
            fail_input(std::string(path).append(": What is ").append(more) + '?');
        }
        apps.emplace(std::move(app), std::move(platform));
    }
    return apps;
}

/// The apps of a script and their platforms, as a child hands them over; null if the Header section
/// cannot be read.
std::string answers_of(const script_report& report) {
    const bool has_header =
        !report.sections.empty() && report.sections.front().head == section_head{"App", "Header"};
    const bool is_lost =
        has_header ? !report.sections.front().is_delivered : !report.messages.empty();
    if (is_lost) return "null";
    nlohmann::json answers = nlohmann::json::array();
    for (const section_report& section : report.sections) {
        for (const app_answer& answer : section.apps) {
            for (const char* platform : answer.on)
                answers.push_back({answer.app, platform});
        }
    }
    return answers.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

void add_script(const group_script& script, coverage_report& coverage) {
    const child_report report =
        report_in_child(core::decode_path(script.name), script.text, {}, answers_of);
    const nlohmann::json answers =
        report.fault.empty() ? nlohmann::json::parse(report.written) : nlohmann::json();
    if (answers.is_null()) {
        error_message(script.shown + ": " +
                      (report.fault.empty() ? "Its Header section cannot be read." : report.fault));
        coverage.has_faults = true;
        return;
    }
    for (const nlohmann::json& answer : answers)
        coverage.apps[answer[0]][answer[1]].push_back(script.name);
}

void compare(const std::set<listed_app>& list, coverage_report& coverage) {
    for (const auto& [name, platform] : list) {
        const auto app = coverage.apps.find(name);
        const bool is_served =
            app != coverage.apps.end() && (platform.empty() || app->second.contains(platform));
        if (is_served) continue;
        std::string& unserved = coverage.unserved.emplace_back(name);
        if (!platform.empty()) unserved.append(" on ").append(platform);
    }
}

void write_text(const coverage_report& coverage) {
    std::string text;
    for (const auto& [app, by_platform] : coverage.apps) {
        text += printable(app) + '\n';
        for (const auto& [platform, scripts] : by_platform) {
            text += "  " + platform + std::string(14 - platform.size(), ' ') +
                    printable(scripts.front()) + '\n';
            for (auto script = scripts.begin() + 1; script != scripts.end(); ++script)
                text += std::string(16, ' ') + "in its shadow: " + printable(*script) + '\n';
        }
    }
    for (const std::string& app : coverage.unserved)
        text += "not served: " + printable(app) + '\n';
    write_output(text);
}

void write_as_json(const coverage_report& coverage) {
    nlohmann::ordered_json apps = nlohmann::ordered_json::array();
    for (const auto& [app, by_platform] : coverage.apps) {
        for (const auto& [platform, scripts] : by_platform) {
            apps.push_back({{"app", app},
                            {"platform", platform},
                            {"script", scripts.front()},
                            {"shadowed", std::vector(scripts.begin() + 1, scripts.end())}});
        }
    }
    write_json({{"apps", std::move(apps)}, {"unserved", coverage.unserved}});
}

exit_status run_coverage(const coverage_options& options) {
    const std::set<listed_app> list =
        options.apps.empty() ? std::set<listed_app>{} : read_list(options.apps);
    const script_group group = open_scripts(options.input, options.key);
    install(group);
    coverage_report coverage;
    for (const group_script& script : group.scripts)
        add_script(script, coverage);
    compare(list, coverage);
    if (options.json) {
        write_as_json(coverage);
    } else {
        write_text(coverage);
    }
    return coverage.has_faults || !coverage.unserved.empty() ? status_input : status_ok;
}

action define(CLI::App& command) {
    auto options = std::make_shared<coverage_options>();
    command.add_option("INPUT", options->input, "A package, or a folder to be packed.")->required();
    add_package_key(command, options->key);
    command
        .add_option("--apps", options->apps,
                    "A list of apps that should be served, a line each: a\n"
                    "name, and a platform if only that one matters.")
        ->type_name("LIST");
    add_json(command, options->json);
    add_notes(
        command,
        "Shows for each app and platform which script serves it. Where several fit, the first\n"
        "in the order of their names does, and the others are in its shadow.\n\n"
        "Exit status 1 if an app of the list is not served, or a script cannot be read.\n\n"
        "Examples:\n"
        "  morvantic coverage apps\n"
        "  morvantic coverage apps.pkg --key public.pem --apps wanted.txt");
    return with_options(std::move(options), run_coverage);
}

} // namespace

const subcommand coverage_command = {"coverage", "Show which script serves which app.", define};

} // namespace tool

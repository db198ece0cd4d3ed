#include "child_report.h"
#include "commandline.h"
#include "engine_host.h"
#include "json_writer.h"
#include "output.h"
#include "package_view.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace tool {

namespace {

struct dump_options {
    std::string package;
    std::vector<std::string> scripts;
    std::string key;
    std::optional<std::string> app;
    std::string platform;
    bool json = false;
};

/// Collects what is to be written and counts what went wrong.
class dump_output {
public:
    explicit dump_output(const dump_options& options) : m_options(options) {}

    void begin(const std::string& package_name) {
        if (!m_options.json) return;
        m_json.begin_object();
        m_json.key("package").text(package_name);
        if (m_options.app) {
            m_json.key("app").text(*m_options.app);
            m_json.key("platform").text(m_options.platform);
        }
        m_json.key("scripts").begin_array();
    }

    /// In the form that the child has given it.
    void script(std::string_view written) {
        if (m_options.json) {
            m_json.skip_value();
            write_output(m_json.take());
        } else if (m_scripts != 0) {
            write_output("\n");
        }
        write_output(written);
        ++m_scripts;
    }

    /// A script that cannot be shown.
    void fault(const std::string& name, const std::string& sentence) {
        message(name, sentence);
        if (!m_options.json) return;
        m_json.begin_object();
        m_json.key("name").text(name);
        m_json.key("has_errors").boolean(true);
        m_json.key("fault").text(sentence);
        for (const char* nothing : {"messages", "sections"}) {
            m_json.key(nothing).begin_array();
            m_json.end_array();
        }
        m_json.end_object();
    }

    void message(const std::string& name, const std::string& sentence) {
        error_message(name + ": " + sentence);
        m_has_faults = true;
    }

    exit_status end() {
        if (m_options.json) {
            m_json.end_array();
            m_json.end_object();
            write_output(m_json.take() + '\n');
        } else if (m_options.app && m_scripts == 0 && !m_has_faults) {
            write_output("No script applies to " + printable(*m_options.app) + " on " +
                         m_options.platform + ".\n");
        }
        return m_has_faults ? status_input : status_ok;
    }

private:
    const dump_options& m_options;
    json_writer m_json;
    std::size_t m_scripts = 0;
    bool m_has_faults = false;
};

std::optional<app_query> query_of(const dump_options& options) {
    if (!options.app) return {};
    const auto* found =
        std::find_if(std::begin(platforms), std::end(platforms),
                     [&](const platform_name& row) { return options.platform == row.name; });
    return app_query{*options.app, *found};
}

void dump_script(const package_view& view, const member& script,
                 const std::optional<app_query>& query, bool json, dump_output& shown) {
    const std::string name = script.text_name();
    std::string text;
    const std::string defect = view.defect(script, [&](std::span<const std::uint8_t> bytes) {
        text.append(bytes.begin(), bytes.end());
    });
    if (!defect.empty()) return shown.fault(name, "It cannot be read: " + defect + ".");

    const child_report report =
        report_in_child(script.name, text, query, [&](const script_report& read) {
            return json ? json_of(read) : text_of(read);
        });
    if (!report.fault.empty()) return shown.fault(name, report.fault);
    if (report.written.empty()) return; // it does not apply
    shown.script(report.written);
    if (report.has_errors) shown.message(name, "The engine finds errors.");
}

const member& script_of(const package_view& view, const std::string& name,
                        const std::string& package_name) {
    const member& script = served_member(view, name, package_name);
    if (script.kind != file_script) fail_input(package_name + ": " + name + " is no script.");
    return script;
}

std::vector<const member*> chosen(const package_view& view, const engine_host& engine,
                                  const dump_options& options, const std::string& package_name) {
    std::vector<const member*> scripts;
    for (const std::string& name : options.scripts) {
        const member& script = script_of(view, name, package_name);
        if (std::find(scripts.begin(), scripts.end(), &script) == scripts.end()) {
            scripts.push_back(&script);
        }
    }
    if (!scripts.empty()) return scripts;
    for (const member& entry : view.members()) {
        if (engine.script_names().contains(entry.name)) scripts.push_back(&entry);
    }
    return scripts;
}

exit_status dump(const dump_options& options) {
    const auto [package, key] = package_and_key(options.package, options.key);
    const package_view view = open_verified(package, key);
    const engine_host engine(package, key.path());
    const std::optional<app_query> query = query_of(options);

    dump_output output(options);
    output.begin(package.name());
    for (const member* script : chosen(view, engine, options, package.name()))
        dump_script(view, *script, query, options.json, output);
    return output.end();
}

action define(CLI::App& command) {
    auto options = std::make_shared<dump_options>();
    add_package(command, options->package);
    command.add_option("SCRIPT", options->scripts,
                       "Scripts, as \"morvantic list\" shows them. The default\nis all.");
    add_public_key(command, options->key);
    auto* app = command
                    .add_option("--app", options->app,
                                "Show what applies to this app, by its package name.")
                    ->type_name("NAME");
    auto* platform = command
                         .add_option("--platform", options->platform,
                                     "The platform that the app runs on: Android, iOS,\n"
                                     "WindowsPhone or Blackberry.")
                         ->transform(CLI::IsMember(platform_words(), CLI::ignore_case))
                         ->type_name("PLATFORM");
    app->needs(platform);
    platform->needs(app);
    add_json(command, options->json);
    add_notes(
        command,
        "Verifies the package and shows what the engine delivers to a host: what a script says of\n"
        "each app and platform that it names (the first record that fits counts), the Python\n"
        "modules and XQuery files, and each call for a Script section in its order. A constant\n"
        "arrives as its string, an enum value as its number. In the text, what the engine logs\n"
        "stands where it was logged.\n\n"
        "With --app and --platform it shows the scripts that apply, and of them what a host would\n"
        "then ask for.\n\n"
        "Exit status 1 also if the engine finds errors in a script.\n\n"
        "Examples:\n"
        "  morvantic dump apps.pkg --key public.pem\n"
        "  morvantic dump apps.pkg android/mail.sc --key public.pem --json\n"
        "  morvantic dump apps.pkg --key public.pem --app com.example.mail --platform iOS");
    return with_options(std::move(options), dump);
}

} // namespace

const subcommand dump_command = {"dump", "Show what the engine delivers of scripts.", define};

} // namespace tool

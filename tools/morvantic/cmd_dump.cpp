#include "child_process.h"
#include "commandline.h"
#include "engine_host.h"
#include "json_writer.h"
#include "output.h"
#include "package_view.h"
#include "script_report.h"

#include "core/text.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>
#include <system_error>
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

/// Far more than the engine takes for one step in a script of this size, if it ever ends.
unsigned processor_seconds_for(std::uint64_t size) {
    return 5 + 2 * static_cast<unsigned>(std::min<std::uint64_t>(size >> 20, 100'000));
}

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

/// How a child's output begins; the report or a sentence follows.
enum child_word : char {
    word_sound = ' ',
    word_errors = '!', // the engine finds some
    word_fault = '?',  // the script cannot be shown
    word_failure = '#' // nor any other
};

void send(const text_sink& sink, child_word word, std::string_view text) {
    const char first = word;
    sink({&first, 1});
    sink(text);
}

void write_report(const member& script, const std::string& text,
                  const std::optional<app_query>& query, bool json, const text_sink& sink) {
    const script_outline outline = read_outline(text);
    if (outline.endless_comment_line != 0) {
        return send(sink, word_fault,
                    "The block comment that begins in line " +
                        std::to_string(outline.endless_comment_line) +
                        " has no end. The engine would read it for ever.");
    }
    const std::optional<script_report> report =
        read_script(script.name, outline, query, processor_seconds_for(script.size));
    if (!report) return;
    send(sink, report->has_errors() ? word_errors : word_sound,
         json ? json_of(*report) : text_of(*report));
}

/// In a process of its own, since the engine reads some texts without end.
child_result read_in_child(const member& script, const std::string& text,
                           const std::optional<app_query>& query, bool json) {
    return run_in_child([&](const text_sink& sink) {
        try {
            write_report(script, text, query, json, sink);
        } catch (const std::bad_alloc&) {
            send(sink, word_failure,
                 "There is not enough memory to read " + script.text_name() + '.');
        } catch (const std::system_error& error) {
            send(sink, word_failure, script.text_name() + " cannot be read: " + error.what() + '.');
        } catch (const std::exception& error) {
            send(sink, word_fault, std::string("The engine cannot open it: ") + error.what());
        }
    });
}

void show(const std::string& name, std::string_view output, dump_output& shown) {
    const std::string_view rest = output.substr(1);
    switch (output.front()) {
    case word_errors:
        shown.script(rest);
        return shown.message(name, "The engine finds errors.");
    case word_fault:
        return shown.fault(name, std::string(rest));
    case word_failure:
        fail_call(std::string(rest));
    default:
        return shown.script(rest);
    }
}

void dump_script(const package_view& view, const member& script,
                 const std::optional<app_query>& query, bool json, dump_output& shown) {
    const std::string name = script.text_name();
    std::string text;
    const std::string defect = view.defect(script, [&](std::span<const std::uint8_t> bytes) {
        text.append(bytes.begin(), bytes.end());
    });
    if (!defect.empty()) return shown.fault(name, "It cannot be read: " + defect + ".");

    const child_result result = read_in_child(script, text, query, json);
    if (result.out_of_time) {
        const std::string seconds = std::to_string(processor_seconds_for(script.size));
        return shown.fault(name, "The engine had not come to an end of one of its sections after " +
                                     seconds +
                                     " seconds. Is a semicolon missing behind a property that "
                                     "it does not know?");
    }
    if (result.signal != 0) {
        return shown.fault(name, std::string("Reading it ended by the signal \"") +
                                     strsignal(result.signal) + "\".");
    }
    if (!result.finished) fail_call(name + " cannot be read: The process for it failed.");
    if (!result.output.empty()) show(name, result.output, shown); // or it does not apply
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

std::vector<std::string> platform_words() {
    std::vector<std::string> words;
    for (const platform_name& row : platforms)
        words.emplace_back(row.name);
    return words;
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

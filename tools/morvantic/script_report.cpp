#include "script_report.h"

#include "child_process.h"
#include "json_writer.h"
#include "output.h"

#include "core/text.h"

#include <algorithm>
#include <map>
#include <set>

namespace tool {

namespace {

using engine::CScriptHeader;
using engine::CScriptInclude;

/// Takes what the log has got, so that it stands in front of whatever comes next.
void note_messages(engine_log& log, std::vector<report_entry>& entries) {
    for (log_message& message : log.take_new())
        entries.emplace_back(std::move(message));
}

class reporting_body : public recorder::recording_body {
public:
    reporting_body(const char* where, const char* name, engine_log& log,
                   std::vector<report_entry>& entries)
        : recording_body(where, name), m_log(log), m_entries(entries) {}

protected:
    void record(recorder::call made) override {
        note_messages(m_log, m_entries);
        m_entries.emplace_back(std::move(made));
    }

private:
    engine_log& m_log;
    std::vector<report_entry>& m_entries;
};

class reporting_script : public recorder::recording_script {
public:
    reporting_script(const wchar_t* name, engine_log& log, unsigned processor_seconds)
        : recording_script(name), m_log(log), m_processor_seconds(processor_seconds) {}

    void read_outline() {
        const processor_limit limit(m_processor_seconds);
        init();
    }

    /// Null if the section cannot be read.
    engine::CScriptSection* read(section_report& report) {
        m_entries = &report.entries;
        const processor_limit limit(m_processor_seconds);
        engine::CScriptSection* read = section(report.head.where.c_str(), report.head.name.c_str());
        note_messages(m_log, report.entries);
        report.is_delivered = read != nullptr;
        return read;
    }

protected:
    std::unique_ptr<recorder::recording_body> make_body(const char* where,
                                                        const char* name) override {
        return std::make_unique<reporting_body>(where, name, m_log, *m_entries);
    }

private:
    engine_log& m_log;
    unsigned m_processor_seconds;                   // for each step
    std::vector<report_entry>* m_entries = nullptr; // of the section that is being read
};

std::vector<std::string> namespaces_of(CScriptHeader& header) {
    std::vector<std::string> names;
    header.namespace_reset();
    while (const char* name = header.namespace_next())
        names.emplace_back(name);
    return names;
}

std::optional<app_answer> ask(CScriptHeader& header, const std::string& app,
                              const platform_name& platform) {
    const bool has_extra_fs = header.hasExtraFS(app.c_str(), platform.flag);
    if (!header.accept(app.c_str(), platform.flag)) return {}; // selects whose namespaces they are
    return app_answer{app, {platform.name}, namespaces_of(header), has_extra_fs};
}

std::vector<app_answer> ask_for_all(CScriptHeader& header) {
    std::vector<std::string> apps;
    std::set<std::string> known;
    header.packageNames_reset();
    while (const char* app = header.packageNames_next()) {
        if (known.insert(app).second) apps.emplace_back(app);
    }
    std::vector<app_answer> answers;
    for (const std::string& app : apps) {
        const std::size_t first = answers.size();
        for (const platform_name& platform : platforms) {
            std::optional<app_answer> answer = ask(header, app, platform);
            if (!answer) continue;
            const auto same = std::find_if(answers.begin() + static_cast<std::ptrdiff_t>(first),
                                           answers.end(), [&](const app_answer& earlier) {
                                               return earlier.namespaces == answer->namespaces &&
                                                      earlier.has_extra_fs == answer->has_extra_fs;
                                           });
            if (same != answers.end()) {
                same->on.push_back(platform.name);
            } else {
                answers.push_back(*std::move(answer));
            }
        }
    }
    return answers;
}

void describe(CScriptInclude& include, const script_outline& outline, section_report& report) {
    std::vector<std::string> names = outline.modules;
    if (std::find(names.begin(), names.end(), "default") == names.end()) {
        names.insert(names.begin(), "default");
    }
    for (const std::string& name : names) {
        const char* path = include.python(name.c_str());
        if (path == nullptr) continue; // a word that only looked like a module
        python_module module{name, path, {}};
        while (const char* needed = include.python_dependency_next(name.c_str()))
            module.dependencies.emplace_back(needed);
        report.modules.push_back(std::move(module));
    }
    while (const char* path = include.xquery_next())
        report.xqueries.emplace_back(path);
}

bool is_header(const section_head& head) { return head == section_head{"App", "Header"}; }

/// Goes through one script in the order in which a host does.
class script_reader {
public:
    script_reader(const std::wstring& name, const script_outline& outline,
                  const std::optional<app_query>& query, unsigned processor_seconds)
        : m_outline(outline), m_query(query), m_script(name.c_str(), m_log, processor_seconds) {
        m_report.name = core::encode_lossy(name);
    }

    std::optional<script_report> read() {
        m_script.read_outline();
        m_report.messages = m_log.take_new();
        if (!read_header()) return {};
        for (const section_head& head : m_outline.sections) {
            if (head.name == "Include") read_include(add(head));
        }
        if (m_query) {
            read_scripts_of_the_query();
        } else {
            read_the_others();
        }
        m_log.check();
        return std::move(m_report);
    }

private:
    section_report& add(const section_head& head) {
        section_report& report = m_report.sections.emplace_back();
        report.head = head;
        return report;
    }

    /// False if the script does not apply.
    bool read_header() {
        const auto& heads = m_outline.sections;
        const auto head = std::find_if(heads.begin(), heads.end(), is_header);
        if (head == heads.end()) return !m_query || !m_report.messages.empty();
        section_report& report = add(*head);
        auto* header = dynamic_cast<CScriptHeader*>(m_script.read(report));
        if (header == nullptr) return true;
        if (!m_query) {
            report.apps = ask_for_all(*header);
            return true;
        }
        if (auto answer = ask(*header, m_query->app, m_query->platform)) {
            report.apps.push_back(*std::move(answer));
        }
        return !report.apps.empty();
    }

    void read_include(section_report& report) {
        auto* include = dynamic_cast<CScriptInclude*>(m_script.read(report));
        if (include != nullptr) describe(*include, m_outline, report);
    }

    void read_scripts_of_the_query() {
        if (m_report.sections.empty()) return;
        const std::vector<app_answer>& answers = m_report.sections.front().apps;
        if (answers.empty()) return;
        const auto& heads = m_outline.sections;
        std::set<std::string> known;
        for (const std::string& where : answers.front().namespaces) {
            if (!known.insert(where).second) continue;
            section_report& report = add({where, "Script"});
            report.is_there = std::find(heads.begin(), heads.end(), report.head) != heads.end();
            m_script.read(report);
        }
    }

    /// Those that hosts read first, as they do; then the rest in the order of the text.
    void read_the_others() {
        std::vector<section_head> heads = m_outline.sections;
        std::map<section_head, std::size_t> ranks;
        if (!m_report.sections.empty()) {
            for (const app_answer& answer : m_report.sections.front().apps) {
                for (const std::string& where : answer.namespaces)
                    ranks.emplace(section_head{where, "Script"}, ranks.size());
            }
        }
        const auto rank_of = [&](const section_head& head) {
            const auto rank = ranks.find(head);
            return rank == ranks.end() ? ranks.size() : rank->second;
        };
        std::stable_sort(heads.begin(), heads.end(),
                         [&](const section_head& left, const section_head& right) {
                             return rank_of(left) < rank_of(right);
                         });
        for (const section_head& head : heads) {
            if (is_header(head) || head.name == "Include") continue;
            section_report& report = add(head);
            report.is_read = head.name == "Script";
            if (report.is_read) m_script.read(report);
        }
    }

    const script_outline& m_outline;
    const std::optional<app_query>& m_query;
    engine_log m_log;
    reporting_script m_script;
    script_report m_report;
};

// As text

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : ", ") + recorder::word(word);
    return text;
}

std::string path_words(const std::string& path) {
    return path.empty() ? "(no path)" : recorder::word(path);
}

std::string title_of(const section_report& report) {
    const std::string head = "::" + report.head.where + "::" + report.head.name + "::";
    if (!report.is_there) return head + " is not there";
    if (!report.is_read) return head + " is of no kind that the engine reads";
    return report.is_delivered ? head : head + " cannot be read";
}

class text_writer {
public:
    void line(std::size_t level, const std::string& text) {
        m_text.append(2 * level, ' ').append(printable(text)).append(1, '\n');
    }

    void message(std::size_t level, const log_message& said) {
        std::string_view rest = said.text;
        const std::size_t first = rest.find('\n');
        line(level, "log " + said.level + ": " + std::string(rest.substr(0, first)));
        while (rest.find('\n') != std::string_view::npos) {
            rest.remove_prefix(rest.find('\n') + 1);
            line(level, std::string(rest.substr(0, rest.find('\n'))));
        }
    }

    void section(const section_report& report) {
        line(1, title_of(report));
        for (const app_answer& answer : report.apps)
            app(answer);
        for (const python_module& module : report.modules) {
            const std::string needs =
                module.dependencies.empty() ? "" : ", needs " + joined(module.dependencies);
            line(2,
                 "Python " + recorder::word(module.name) + " = " + path_words(module.path) + needs);
        }
        for (const std::string& path : report.xqueries)
            line(2, "XQuery " + path_words(path));
        entries(report.entries);
    }

    std::string take() { return std::move(m_text); }

private:
    void app(const app_answer& answer) {
        std::string text = recorder::word(answer.app) + " on ";
        for (const char* platform : answer.on)
            text += (platform == answer.on.front() ? "" : ", ") + std::string(platform);
        text += ": " + (answer.namespaces.empty() ? "no namespaces" : joined(answer.namespaces));
        line(2, text + (answer.has_extra_fs ? " (and the extra file system)" : ""));
    }

    void entries(const std::vector<report_entry>& entries) {
        std::size_t level = 2;
        for (const report_entry& entry : entries) {
            if (const auto* said = std::get_if<log_message>(&entry)) {
                message(level, *said);
                continue;
            }
            const auto& made = std::get<recorder::call>(entry);
            if (made.kind == recorder::call_object_end) --level;
            line(level, recorder::spelled(made));
            if (made.kind == recorder::call_object_begin) ++level;
        }
    }

    std::string m_text;
};

// As JSON

class value_writer {
public:
    explicit value_writer(json_writer& json) : m_json(json) {}

    void leaf(const recorder::value& item) {
        switch (item.kind) {
        case recorder::value_int:
            return m_json.number(item.number);
        case recorder::value_bool:
            return m_json.boolean(item.number != 0);
        case recorder::value_text:
            return m_json.text(item.text);
        case recorder::value_texts:
            m_json.begin_array();
            for (const std::string& text : item.texts)
                m_json.text(text);
            return m_json.end_array();
        case recorder::value_analyzer:
            m_json.begin_object();
            m_json.key("analyzer").text(item.text);
            return m_json.end_object();
        default:
            return m_json.null();
        }
    }

    void call_begin(const recorder::value& item) {
        m_json.begin_object();
        m_json.key("call").text(item.text);
        m_json.key("arguments").begin_array();
    }

    void call_end() {
        m_json.end_array();
        m_json.end_object();
    }

private:
    json_writer& m_json;
};

class report_writer {
public:
    explicit report_writer(json_writer& json) : m_json(json) {}

    void write(const script_report& report) {
        m_json.begin_object();
        m_json.key("name").text(report.name);
        m_json.key("has_errors").boolean(report.has_errors());
        messages(report.messages);
        m_json.key("sections").begin_array();
        for (const section_report& section : report.sections)
            write(section);
        m_json.end_array();
        m_json.end_object();
    }

private:
    void write(const section_report& report) {
        m_json.begin_object();
        m_json.key("namespace").text(report.head.where);
        m_json.key("name").text(report.head.name);
        m_json.key("delivered").boolean(report.is_delivered);
        if (is_header(report.head)) {
            apps(report.apps);
        } else if (report.head.name == "Include") {
            modules(report.modules);
            texts("xquery", report.xqueries);
        } else if (report.is_read) {
            statements(report.entries);
        }
        m_json.key("messages").begin_array();
        for (const report_entry& entry : report.entries) {
            if (const auto* said = std::get_if<log_message>(&entry)) message(*said);
        }
        m_json.end_array();
        m_json.end_object();
    }

    void apps(const std::vector<app_answer>& answers) {
        m_json.key("apps").begin_array();
        for (const app_answer& answer : answers) {
            m_json.begin_object(json_one_line);
            m_json.key("app").text(answer.app);
            texts("platforms", answer.on);
            texts("namespaces", answer.namespaces);
            m_json.key("extra_fs").boolean(answer.has_extra_fs);
            m_json.end_object();
        }
        m_json.end_array();
    }

    void modules(const std::vector<python_module>& modules) {
        m_json.key("python").begin_array();
        for (const python_module& module : modules) {
            m_json.begin_object(json_one_line);
            m_json.key("namespace").text(module.name);
            m_json.key("path").text(module.path);
            texts("dependencies", module.dependencies);
            m_json.end_object();
        }
        m_json.end_array();
    }

    /// Objects hold what was called on them; one that was left open by an error has not "ended".
    void statements(const std::vector<report_entry>& entries) {
        m_json.key("statements").begin_array();
        for (const report_entry& entry : entries) {
            if (const auto* made = std::get_if<recorder::call>(&entry)) call(*made);
        }
        if (m_in_object) end_object(false);
        m_json.end_array();
    }

    void call(const recorder::call& made) {
        if (made.kind == recorder::call_object_property) return property(made);
        end_properties();
        switch (made.kind) {
        case recorder::call_object_begin:
            return begin_object(made);
        case recorder::call_object_end:
            return end_object(true);
        default:
            return function(made);
        }
    }

    void begin_object(const recorder::call& made) {
        m_json.begin_object();
        m_json.key("object").text(engine::CObjectValue::get_obj_name(made.object_type));
        m_json.key("name").text(made.name);
        arguments(made.arguments);
        m_json.key("properties").begin_array();
        m_in_object = m_in_properties = true;
    }

    void end_properties() {
        if (!std::exchange(m_in_properties, false)) return;
        m_json.end_array();
        m_json.key("statements").begin_array();
    }

    void end_object(bool ended) {
        end_properties();
        m_json.end_array();
        m_json.key("ended").boolean(ended);
        m_json.end_object();
        m_in_object = false;
    }

    void property(const recorder::call& made) {
        m_json.begin_object(json_one_line);
        m_json.key("key").text(made.name);
        m_json.key("value").text(made.text);
        m_json.end_object();
    }

    void function(const recorder::call& made) {
        m_json.begin_object(json_one_line);
        m_json.key("function").text(engine::CFunctionValue::get_func_name(made.function_type));
        m_json.key("global").boolean(made.kind == recorder::call_global_function);
        arguments(made.arguments);
        m_json.end_object();
    }

    void arguments(const recorder::value_list& list) {
        m_json.key("arguments").begin_array(json_one_line);
        recorder::walk(list, value_writer(m_json));
        m_json.end_array();
    }

    template <class Text>
    void texts(const char* key, const std::vector<Text>& texts) {
        m_json.key(key).begin_array(json_one_line);
        for (const Text& text : texts)
            m_json.text(text);
        m_json.end_array();
    }

    void messages(const std::vector<log_message>& messages) {
        m_json.key("messages").begin_array();
        for (const log_message& said : messages)
            message(said);
        m_json.end_array();
    }

    void message(const log_message& said) {
        m_json.begin_object();
        m_json.key("level").text(said.level);
        m_json.key("text").text(said.text);
        m_json.end_object();
    }

    json_writer& m_json;
    bool m_in_object = false;
    bool m_in_properties = false;
};

bool is_error(const log_message& message) { return message.level == "ERROR"; }

} // namespace

std::vector<std::string> platform_words() {
    std::vector<std::string> words;
    for (const platform_name& row : platforms)
        words.emplace_back(row.name);
    return words;
}

bool script_report::has_errors() const {
    if (std::any_of(messages.begin(), messages.end(), is_error)) return true;
    return std::any_of(sections.begin(), sections.end(), [](const section_report& section) {
        if (section.is_there && section.is_read && !section.is_delivered) return true;
        return std::any_of(section.entries.begin(), section.entries.end(),
                           [](const report_entry& entry) {
                               const auto* message = std::get_if<log_message>(&entry);
                               return message != nullptr && is_error(*message);
                           });
    });
}

std::optional<script_report> read_script(const std::wstring& name, const script_outline& outline,
                                         const std::optional<app_query>& query,
                                         unsigned processor_seconds) {
    return script_reader(name, outline, query, processor_seconds).read();
}

unsigned processor_seconds_for(std::uint64_t size) noexcept {
    return 5 + 2 * static_cast<unsigned>(std::min<std::uint64_t>(size >> 20, 100'000));
}

std::string text_of(const script_report& report) {
    text_writer text;
    text.line(0, report.name);
    for (const log_message& message : report.messages)
        text.message(1, message);
    for (const section_report& section : report.sections)
        text.section(section);
    return text.take();
}

std::string json_of(const script_report& report) {
    json_writer json(2);
    report_writer(json).write(report);
    return json.take();
}

} // namespace tool

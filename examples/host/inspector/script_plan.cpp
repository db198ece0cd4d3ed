#include "script_plan.h"

#include <algorithm>
#include <set>
#include <utility>

namespace inspector {

namespace {

/// Sorts the calls of one Script section.
section sorted(std::string name, const std::vector<recorder::call>& calls) {
    section result{std::move(name), {}, {}};
    for (const recorder::call& made : calls) {
        switch (made.kind) {
        case recorder::call_object_begin: {
            const char* type = engine::CObjectValue::get_obj_name(made.object_type);
            result.analyzers.push_back({made.name.empty() ? type : made.name,
                                        made.object_type,
                                        made.arguments.values(),
                                        {},
                                        {}});
            break;
        }
        case recorder::call_object_property:
            result.analyzers.back().options[made.name] = made.text;
            break;
        case recorder::call_object_function:
            result.analyzers.back().functions.push_back(made);
            break;
        case recorder::call_object_end:
            break;
        case recorder::call_global_function:
            result.globals.push_back(made);
            break;
        }
    }
    return result;
}

/// Looks up the Python namespaces that a section calls, at any depth.
struct module_collector {
    engine::CScriptInclude& include;
    std::map<std::string, python_module>& modules;

    void call_end() {}

    void call_begin(const recorder::value& item) { leaf(item); }

    void leaf(const recorder::value& item) {
        if (item.kind != recorder::value_call) return;
        const std::string where = names_of(item).where;
        const char* path = include.python(where.c_str());
        if (path == nullptr || modules.count(where) != 0) return;
        python_module& found = modules[where];
        found.path = path;
        include.python_dependency_reset(where.c_str());
        while (const char* file = include.python_dependency_next(where.c_str()))
            found.dependencies.emplace_back(file);
    }
};

script_plan read_plan(const wchar_t* name, recorder::recording_script& script,
                      engine::CScriptHeader& header) {
    script_plan plan;
    plan.script = engine::to_utf8(name);
    // Before the Script sections, which call the modules that it declares.
    auto* include = dynamic_cast<engine::CScriptInclude*>(script.section("App", "Include"));

    plan.has_include = include != nullptr;
    std::set<std::string> asked; // once each: the second answer says nothing of faults
    header.namespace_reset();    // accept leaves the walk where it stood
    while (const char* where = header.namespace_next()) {
        if (!asked.insert(where).second) continue;
        auto* body = dynamic_cast<recorder::recording_body*>(script.section(where, "Script"));
        if (body == nullptr) {
            plan.faulty.emplace_back(where);
            continue;
        }
        plan.sections.push_back(sorted(where, body->calls()));
        if (include == nullptr) continue;
        for (const recorder::call& made : body->calls())
            recorder::walk(made.arguments, module_collector{*include, plan.modules});
    }
    while (const char* query = include != nullptr ? include->xquery_next() : nullptr)
        plan.queries.emplace_back(query);
    return plan;
}

} // namespace

const analyzer* section::find(const std::string& analyzer_name) const {
    const auto found =
        std::find_if(analyzers.begin(), analyzers.end(),
                     [&analyzer_name](const analyzer& item) { return item.name == analyzer_name; });
    return found == analyzers.end() ? nullptr : &*found;
}

std::optional<script_plan> find_plan(const std::string& app, engine::EPlatformTypes platform,
                                     complaints& faults) {
    engine::CScriptStorageInterface storage;
    while (const wchar_t* name = storage.next()) {
        recorder::recording_script script(name);
        script.init();
        auto* header = dynamic_cast<engine::CScriptHeader*>(script.section("App", "Header"));
        if (header == nullptr) {
            faults.add(engine::to_utf8(name) +
                       ": there is no Header that can be read; see morvantic.log");
            continue;
        }
        if (!header->accept(app.c_str(), platform)) continue;
        return read_plan(name, script, *header);
    }
    return std::nullopt;
}

call_names names_of(const recorder::value& call) {
    const std::size_t colons = call.text.find("::");
    return {call.text.substr(0, colons), call.text.substr(colons + 2)};
}

const recorder::value& arguments_of::value(std::size_t place, recorder::value_kind kind) const {
    if (is(place, kind)) return m_values[place];
    throw script_error("argument " + std::to_string(place + 1) + " does not suit");
}

std::vector<std::string> arguments_of::texts(std::size_t place) const {
    if (is(place, recorder::value_texts)) return m_values[place].texts;
    return {text(place)};
}

} // namespace inspector

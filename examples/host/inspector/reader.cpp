#include "reader.h"

#include "sqlite_records.h"
#include "trees.h"

#include <algorithm>
#include <charconv>
#include <exception>
#include <map>
#include <set>
#include <utility>

namespace inspector {

namespace {

/// Analyzers may hand on to one another without end.
constexpr std::size_t deepest_nesting = 16;

bool gives_records(engine::EObjectType type) { return type == engine::object_sqlite_analyzer; }

bool gives_tree(engine::EObjectType type) {
    return type == engine::object_json_analyzer || type == engine::object_plist_analyzer;
}

std::string function_name(const recorder::call& made) {
    return engine::CFunctionValue::get_func_name(made.function_type);
}

/// The last call of a function in an analyzer, which is the one that counts.
const recorder::call* last_call(const analyzer& how, engine::EFunctionType function) {
    const auto found = std::find_if(
        how.functions.rbegin(), how.functions.rend(),
        [function](const recorder::call& made) { return made.function_type == function; });
    return found == how.functions.rend() ? nullptr : &*found;
}

bool is_missing(const value& input) {
    return input.is_array() ? std::any_of(input.begin(), input.end(), is_missing) : input.is_null();
}

/// What a function does to the value that it is for.
enum class effect {
    replace,       // another value takes its place
    add,           // another value stands beside it
    identify,      // the value, or what a call makes of it, is what the record is known by
    refer,         // the same of another record
    analyze_value, // the value holds a store
    analyze_file,  // the value names a file
};

/// The functions that this host carries out on records, and on trees.
const std::map<engine::EFunctionType, effect> record_effects = {
    {engine::function_function_on_column, effect::replace},
    {engine::function_function_on_columns, effect::add},
    {engine::function_extract_to_new_column, effect::add},
    {engine::function_id_on_column, effect::identify},
    {engine::function_id_on_columns, effect::identify},
    {engine::function_customizable_id_on_column, effect::identify},
    {engine::function_customizable_id_on_columns, effect::identify},
    {engine::function_id_ref_on_column, effect::refer},
    {engine::function_id_ref_on_columns, effect::refer},
    {engine::function_customizable_id_ref_on_column, effect::refer},
    {engine::function_customizable_id_ref_on_columns, effect::refer},
    {engine::function_analyze_column, effect::analyze_value},
    {engine::function_analyze_const_column, effect::analyze_file},
    {engine::function_analyze_const_columns, effect::analyze_file},
};

/// Of these, the ones whose fourth argument is a call that makes the identifier.
const std::set<engine::EFunctionType> customizable = {
    engine::function_customizable_id_on_column,
    engine::function_customizable_id_on_columns,
    engine::function_customizable_id_ref_on_column,
    engine::function_customizable_id_ref_on_columns,
};

const std::map<engine::EFunctionType, effect> tree_effects = {
    {engine::function_function_on_value, effect::replace},
    {engine::function_analyze_value, effect::analyze_value},
    {engine::function_analyze_object, effect::analyze_value},
    {engine::function_analyze_const_value, effect::analyze_file},
};

/// What a function on columns gets: the value of its one column, or the list of the values.
value input_of(const arguments_of& arguments, const record& row) {
    if (arguments.is(1, recorder::value_text)) return row.content(arguments.text(1));
    value input = value::array();
    for (const std::string& column : arguments.texts(1))
        input.push_back(row.content(column));
    return input;
}

/// The path with {1}, {2} and so on replaced by the values.
std::string filled(const std::string& pattern, const value& input) {
    const value values = input.is_array() ? input : value::array({input});
    std::string path;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        std::size_t number = 0;
        const char* const end = pattern.data() + pattern.size();
        const char* behind = pattern.data() + i + 1;
        if (pattern[i] == '{') behind = std::from_chars(behind, end, number).ptr;
        if (number != 0 && number <= values.size() && behind != end && *behind == '}') {
            path += to_text(values[number - 1]);
            i = static_cast<std::size_t>(behind - pattern.data());
        } else {
            path += pattern[i];
        }
    }
    return path;
}

/// The columns that a function is for have to be there; after it, those that it adds are as well.
void check_columns(const recorder::call& call, database_content& content) {
    const arguments_of arguments(call);
    const auto table = content.columns.find(arguments.text(0));
    if (table == content.columns.end()) {
        throw script_error("no such table is read: " + arguments.text(0));
    }
    if (table->second.empty()) return; // which has been told
    for (const std::string& column : arguments.texts(1)) {
        if (table->second.count(column) == 0) throw script_error("no such column: " + column);
    }
    if (record_effects.at(call.function_type) == effect::add) {
        table->second.insert(arguments.text(2));
    }
}

const std::vector<std::string> no_faults;

/// Notes a file as open for as long as it is read.
class open_file {
public:
    open_file(open_files& all, open_files::value_type opened) : m_all(all) {
        if (std::find(all.begin(), all.end(), opened) != all.end()) {
            throw script_error(std::get<std::string>(opened) + " leads to itself");
        }
        all.push_back(std::move(opened));
    }

    open_file(const open_file&) = delete;
    open_file& operator=(const open_file&) = delete;

    ~open_file() { m_all.pop_back(); }

private:
    open_files& m_all;
};

/// Does a piece of work. What it throws is told as a fault of what `name` gives.
template <class Name, class Work>
void attempt(complaints& faults, const Name& name, const Work& work) {
    try {
        work();
    } catch (const std::exception& failure) {
        faults.add(name() + ": " + failure.what());
    }
}

} // namespace

reader::reader(const section& script_section, stores& files, python_calls& python,
               complaints& faults)
    : m_section(script_section), m_stores(files), m_python(python), m_complaints(faults) {}

std::vector<source> reader::read(const analyzer& how) {
    std::vector<source> found;
    const auto name = [&] { return how.name; };
    attempt(m_complaints, name, [&] {
        const arguments_of arguments(how.arguments);
        const bool has_place =
            arguments.is(0, recorder::value_int) && folder_of(arguments.number(0)) != nullptr;
        const bool is_read = gives_records(how.type) || gives_tree(how.type);
        if (!has_place && is_read && arguments.size() != 0) {
            throw script_error("argument 1 is no place");
        }
        if (!has_place) return;
        const engine::EEnumValue place = arguments.number(0);
        const std::vector<std::string> patterns = arguments.texts(1);
        for (const std::string& path : m_stores.matching(place, patterns))
            found.push_back(read_file(how, place, path, 0));
        if (!found.empty() || how.options.count("optional") != 0) return;
        found.push_back({how.name, patterns.front(), {}, "missing"});
        throw std::runtime_error("there is no " + stores::shown(place, patterns.front()));
    });
    return found;
}

source reader::read_file(const analyzer& how, engine::EEnumValue place, const std::string& path,
                         std::size_t nesting) {
    source found{how.name, path};
    const auto name = [&] { return how.name + ": " + path; };
    const open_file opened(m_open, {&how, place, path});
    complete(found, name, [&] {
        for (const recorder::call& made : m_section.globals) {
            if (made.function_type != engine::function_set_path_to_id_modifier) continue;
            const arguments_of arguments(made);
            found.id = to_text(m_python.run(arguments.value(0, recorder::value_call), path));
        }
        return no_faults;
    });
    complete(found, name, [&] {
        const auto content = m_stores.read(place, path);
        if (!content) {
            found.state = "missing";
            return no_faults;
        }
        side_files beside;
        if (how.options.count("wal") != 0) {
            beside.write_ahead_log = m_stores.read(place, path + "-wal");
        }
        if (gives_records(how.type)) beside.journal = m_stores.read(place, path + "-journal");
        return fill(found, how, from_bytes(*content), beside, nesting);
    });
    return found;
}

template <class Name, class Work>
void reader::complete(source& found, const Name& name, const Work& work) {
    const std::size_t before = m_complaints.count();
    attempt(m_complaints, name, [&] {
        for (const std::string& fault : work())
            m_complaints.add(name() + ": " + fault);
    });
    if (m_complaints.count() != before) found.state = "incomplete";
}

/// Reads the bytes of a file, or of a value in one, then lets the functions of the analyzer work.
/// Gives what is wrong with parts of them.
std::vector<std::string> reader::fill(source& found, const analyzer& how, const value& content,
                                      const side_files& beside, std::size_t nesting) {
    if (!gives_records(how.type) && !gives_tree(how.type)) {
        found.state = "not read by this host";
        return no_faults;
    }
    value bytes = content;
    for (const recorder::call& made : how.functions) {
        if (made.function_type != engine::function_set_file_function) continue;
        bytes = m_python.run(arguments_of(made).value(0, recorder::value_call), bytes);
    }
    if (gives_tree(how.type)) {
        std::vector<std::string> faults;
        const bool is_json = how.type == engine::object_json_analyzer;
        found.tree.push_back(is_json ? read_json(to_bytes(bytes))
                                     : read_plist(to_bytes(bytes), faults));
        apply_to_tree(how, found.tree.back(), nesting);
        return faults;
    }
    std::vector<std::string> tables; // all
    for (const recorder::call& made : how.functions) {
        if (made.function_type != engine::function_add_selected_tables) continue;
        for (const std::string& table : arguments_of(made).texts(0))
            tables.push_back(table);
    }
    database_content database = read_sqlite(to_bytes(bytes), beside, tables);
    apply_to_records(how, database, nesting);
    found.records = std::move(database.records);
    return database.faults;
}

bool reader::sees_missing_values(const analyzer& how) {
    const auto* made = last_call(how, engine::function_force_functions_on_null_value);
    bool sees = false;
    const auto name = [&] { return how.name + ": " + spelled(*made); };
    if (made != nullptr) {
        attempt(m_complaints, name, [&] { sees = arguments_of(*made).is_true(0); });
    }
    return sees;
}

/// Does the work for each function of an analyzer that is in the table, in their order.
template <class Table, class Work>
void reader::each_statement(const analyzer& how, const Table& effects, std::size_t nesting,
                            const Work& work) {
    for (const recorder::call& made : how.functions) {
        if (effects.count(made.function_type) == 0) continue;
        const statement todo{how, made, arguments_of(made), nesting};
        attempt(m_complaints, todo, [&] { work(todo); });
    }
}

void reader::apply_to_records(const analyzer& how, database_content& content, std::size_t nesting) {
    const bool is_forced = sees_missing_values(how);
    each_statement(how, record_effects, nesting, [&](const statement& todo) {
        check_columns(todo.call, content);
        for (record& row : content.records) {
            if (row.kind != todo.arguments.text(0)) continue;
            attempt(m_complaints, todo, [&] {
                const value input = input_of(todo.arguments, row);
                if (!is_missing(input) || is_forced) work_on(todo, row, input);
            });
        }
    });
}

void reader::work_on(const statement& todo, record& row, const value& input) {
    const arguments_of& arguments = todo.arguments;
    const std::string last_column = arguments.texts(1).back();
    switch (record_effects.at(todo.call.function_type)) {
    case effect::replace:
        row.at(last_column).content = run(todo, 2, input);
        break;
    case effect::add:
        row.at(arguments.text(2)).content = run(todo, 3, input);
        break;
    case effect::identify:
        row.id = identifier(todo, input);
        break;
    case effect::refer:
        row.at(last_column).ref = identifier(todo, input);
        break;
    case effect::analyze_value:
        row.at(last_column).inside.push_back(read_value(todo, input));
        break;
    case effect::analyze_file:
        row.at(last_column).inside.push_back(read_const(todo, input));
        break;
    }
}

void reader::apply_to_tree(const analyzer& how, node& root, std::size_t nesting) {
    const bool is_forced = sees_missing_values(how);
    each_statement(how, tree_effects, nesting, [&](const statement& todo) {
        const engine::EEnumValue type = todo.arguments.number(1);
        for (node* item : nodes_at(root, todo.arguments.text(0), type)) {
            if (!is_structured(*item) && item->content.is_null() && !is_forced) continue;
            attempt(m_complaints, todo, [&] { work_on(todo, *item); });
        }
    });
}

void reader::work_on(const statement& todo, node& item) {
    const effect wanted = tree_effects.at(todo.call.function_type);
    if (wanted == effect::replace) {
        item.content = run(todo, 2, to_value(item));
        item.below.clear();
        item.is_replaced = true;
    } else if (wanted == effect::analyze_file) {
        if (is_structured(item)) throw script_error("a list or dictionary names no file");
        item.inside.push_back(read_const(todo, item.content));
    } else if (const analyzer& how = helper(todo, 2); is_structured(item)) {
        if (!gives_tree(how.type)) throw script_error(how.name + " reads no list or dictionary");
        apply_to_tree(how, item, todo.nesting + 1); // stays where it is
    } else {
        item.inside.push_back(read_value(todo, item.content));
    }
}

value reader::run(const statement& todo, std::size_t argument, const value& input) {
    return m_python.run(todo.arguments.value(argument, recorder::value_call), input);
}

/// "kind:value", where a call may make the value; empty if there is none.
std::string reader::identifier(const statement& todo, const value& input) {
    const bool is_made = customizable.count(todo.call.function_type) != 0;
    const value made = is_made ? run(todo, 3, input) : input;
    if (is_missing(made)) return {};
    std::string joined;
    for (const value& part : made.is_array() ? made : value::array({made}))
        joined += (joined.empty() ? ":" : "/") + to_text(part);
    return todo.arguments.text(2) + joined;
}

/// What the analyzer, the third argument, makes of a value.
source reader::read_value(const statement& todo, const value& content) {
    const analyzer& how = helper(todo, 2);
    source found{how.name};
    complete(found, todo, [&] { return fill(found, how, content, {}, todo.nesting + 1); });
    return found;
}

/// What the analyzer, the fifth argument, makes of the file that the value names.
source reader::read_const(const statement& todo, const value& input) {
    const analyzer& how = helper(todo, 4);
    const std::string path = filled(todo.arguments.text(3), input);
    return read_file(how, todo.arguments.number(2), path, todo.nesting + 1);
}

const analyzer& reader::helper(const statement& todo, std::size_t argument) const {
    const std::string& name = todo.arguments.value(argument, recorder::value_analyzer).text;
    const analyzer* found = m_section.find(name);
    if (found == nullptr) throw script_error("there is no analyzer " + name);
    if (todo.nesting == deepest_nesting) throw script_error("analyzers are nested too deep");
    return *found;
}

bool reader::carries_out(const analyzer& how, const recorder::call& made) {
    switch (made.function_type) {
    case engine::function_add_selected_tables:
        return gives_records(how.type);
    case engine::function_set_file_function:
    case engine::function_force_functions_on_null_value:
    case engine::function_set_instant_initialize: // says when, not what
        return true;
    case engine::function_set_specific:
        return arguments_of(made).is(0, recorder::value_int) &&
               arguments_of(made).number(0) == engine::enum_sqlite_none;
    default:
        return gives_records(how.type) ? record_effects.count(made.function_type) != 0
                                       : tree_effects.count(made.function_type) != 0;
    }
}

std::vector<std::string> left_out(const script_plan& plan) {
    std::vector<std::string> all;
    if (!plan.has_include) all.emplace_back("faulty, or not there: the Include section");
    for (const std::string& where : plan.faulty)
        all.push_back("faulty, or not there: the Script section of " + where);
    const auto add = [&all](const std::string& text) {
        if (std::find(all.begin(), all.end(), text) == all.end()) all.push_back(text);
    };
    for (const section& part : plan.sections) {
        for (const recorder::call& made : part.globals) {
            if (made.function_type == engine::function_set_path_to_id_modifier) continue;
            add("not carried out by this host: func " + function_name(made));
        }
        for (const analyzer& how : part.analyzers) {
            if (!gives_records(how.type) && !gives_tree(how.type)) {
                const std::string type = engine::CObjectValue::get_obj_name(how.type);
                add("not read by this host: " + how.name + " (" + type + ")");
                continue;
            }
            for (const auto& [key, option] : how.options) {
                if (key == "optional" || (key == "wal" && gives_records(how.type))) continue;
                add("not carried out by this host: option \"" + key + "\" of " + how.name);
            }
            for (const recorder::call& made : how.functions) {
                if (reader::carries_out(how, made)) continue;
                add("not carried out by this host: " + function_name(made) + " of " + how.name);
            }
        }
    }
    for (const std::string& query : plan.queries)
        add("not run by this host: " + query);
    return all;
}

} // namespace inspector

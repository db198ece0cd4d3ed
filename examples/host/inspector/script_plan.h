#pragma once

#include "../../recorder/recorder.h"
#include "complaints.h"

#include <cstddef>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

/// What a script says, sorted by what a host has to do. It is a copy: nothing here belongs to the
/// engine.
namespace inspector {

/// An object of a Script section, with the functions in it.
struct analyzer {
    std::string name; // its type if the script gives it none
    engine::EObjectType type = engine::object_unknown;
    std::vector<recorder::value> arguments;
    std::map<std::string, std::string> options;
    std::vector<recorder::call> functions;
};

struct section {
    std::string name;
    std::vector<analyzer> analyzers;
    std::vector<recorder::call> globals; // functions on the section as a whole

    const analyzer* find(const std::string& analyzer_name) const;
};

struct python_module {
    std::string path;
    std::vector<std::string> dependencies;
};

struct script_plan {
    std::string script;
    std::vector<section> sections;                // that could be read, in the order to work
    std::vector<std::string> faulty;              // namespaces of the others
    bool has_include = false;                     // one that could be read
    std::map<std::string, python_module> modules; // that the sections call, by namespace
    std::vector<std::string> queries;
};

/// The two names in a value of the kind `value_call`.
struct call_names {
    std::string where; // the module's namespace
    std::string function;
};

call_names names_of(const recorder::value& call);

/// What the first script, in the order of names, says of an app; nothing if there is no script. A
/// script on the way whose Header cannot be read is a fault, as it may have been the one.
std::optional<script_plan> find_plan(const std::string& app, engine::EPlatformTypes platform,
                                     complaints& faults);

/// The engine knows names and grammar. Which arguments a function takes is for the host to judge.
struct script_error : std::runtime_error {
    using runtime_error::runtime_error;
};

/// The enum value of a number, which may be any.
inline engine::EEnumValue enum_of(long long number) {
    const bool is_small = number == static_cast<int>(number);
    return is_small ? engine::CEnumValue::get_enum_type(static_cast<int>(number))
                    : engine::enum_unknown;
}

/// The arguments of a function, each asked for as what it has to be. Throws script_error if it is
/// something else, or not there.
class arguments_of {
public:
    explicit arguments_of(const std::vector<recorder::value>& values) : m_values(values) {}

    explicit arguments_of(const recorder::call& made) : m_values(made.arguments.values()) {}

    std::size_t size() const { return m_values.size(); }

    bool is(std::size_t place, recorder::value_kind kind) const {
        return place < m_values.size() && m_values[place].kind == kind;
    }

    const recorder::value& value(std::size_t place, recorder::value_kind kind) const;

    const std::string& text(std::size_t place) const {
        return value(place, recorder::value_text).text;
    }

    /// A list of texts, or one text.
    std::vector<std::string> texts(std::size_t place) const;

    engine::EEnumValue number(std::size_t place) const {
        return enum_of(value(place, recorder::value_int).number);
    }

    bool is_true(std::size_t place) const { return value(place, recorder::value_bool).number != 0; }

private:
    const std::vector<recorder::value>& m_values;
};

} // namespace inspector

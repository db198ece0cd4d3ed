#include "morvantic/scriptparser.h"

#include "core/logandrethrow.h"
#include "morvantic/script.h"
#include "morvantic/scriptimpl.h"

#include <optional>
#include <utility>

// From parsed values to the host's arguments. One call becomes two arguments side by side: its
// name, and the list of its own arguments, which is complete before the list around it goes on.

namespace engine {

namespace {

/// What the variant of each kind of value holds.
core::variant_kind kind_of(CScriptParser::EArgumentTypes type) {
    switch (type) {
    case CScriptParser::argument_bool:
        return core::variant_bool;
    case CScriptParser::argument_integer:
    case CScriptParser::argument_enum:
        return core::variant_integer;
    case CScriptParser::argument_constant:
    case CScriptParser::argument_string:
    case CScriptParser::argument_analyzer:
        return core::variant_text;
    case CScriptParser::argument_string_list:
        return core::variant_text_list;
    case CScriptParser::argument_function:
        return core::variant_nested_list;
    }
    return core::variant_unknown;
}

/// A host that makes an argument without a callback has nothing to take a value with.
CScriptArgumentCallback& callback_of(CScriptArgument& argument) {
    CScriptArgumentCallback* callback = argument.argument();
    if (callback == nullptr) core::throw_logged("Internal error.");
    return *callback;
}

/// A list on its way to the host.
struct pending_list {
    explicit pending_list(CScriptParser::value_list parsed)
        : values(std::move(parsed)), arguments(std::make_unique<CScriptArguments>(values.size())) {}

    CScriptParser::value_list values;
    std::size_t next = 0;
    CScriptParser::arguments_ptr arguments;
};

/// A call whose inner list comes first, and the list that the call's two arguments go to.
struct open_call {
    open_call(pending_list list, CScriptArgument call_itself)
        : outer(std::move(list)), call(std::move(call_itself)) {}

    pending_list outer;
    CScriptArgument call;
    std::optional<CScriptArgument> call_arguments;
};

} // namespace

CScriptParser::arguments_ptr CScriptParser::build_arguments(value_list values,
                                                            nested_lists& nested) {
    pending_list list(std::move(values));
    std::vector<open_call> calls;
    for (;;) {
        if (list.next != list.values.size()) {
            value& parsed = list.values[list.next++];
            CScriptArgument argument = owner->owner->create_argument();
            check_kind(parsed);
            if (parsed.first == argument_function) {
                open_call& opened = calls.emplace_back(std::move(list), std::move(argument));
                opened.call_arguments.emplace(owner->owner->create_argument());
                list = pending_list(open_function(opened.call, parsed.second));
            } else {
                deliver(parsed, argument);
                list.arguments->insert(argument);
            }
            continue;
        }
        arguments_ptr complete = std::move(list.arguments);
        if (calls.empty()) return complete;

        open_call& closed = calls.back();
        CScriptArguments* inner = nested.emplace_back(std::move(complete)).get();
        callback_of(*closed.call_arguments).set_arguments(inner);
        list = std::move(closed.outer);
        list.arguments->insert(closed.call);
        if (closed.call_arguments->initialized()) list.arguments->insert(*closed.call_arguments);
        calls.pop_back();
    }
}

void CScriptParser::check_kind(const value& parsed) {
    const core::variant_kind expected = kind_of(parsed.first);
    if (expected == core::variant_unknown) fail("Unknown argument type");
    if (parsed.second.kind() != expected) fail("Argument and variant types do not match");
}

/// Names the call to the host and gives the values of its own list.
CScriptParser::value_list CScriptParser::open_function(CScriptArgument& call,
                                                       core::basic_variant& variant) {
    // Moved out: a copy would take all that is nested in it along, at every level.
    value_list values = std::move(variant.get<value_list>());
    if (values.empty()) fail("Function name missing");
    const auto& [type, name] = values.back();
    if (type != argument_string && name.kind() != core::variant_text) {
        fail("Last argument must be function name as String");
    }
    callback_of(call).set_function(name.get<std::string>().c_str());
    values.pop_back();
    return values;
}

void CScriptParser::deliver(const value& parsed, CScriptArgument& argument) {
    const auto& [type, variant] = parsed;
    CScriptArgumentCallback& callback = callback_of(argument);
    switch (type) {
    case argument_bool:
        return callback.set_bool(variant.get<bool>());
    case argument_integer:
    case argument_enum:
        return callback.set_int(variant.get<long long>());
    case argument_constant: // the host sees a plain string
        return callback.set_string(resolve_constant(variant.get<std::string>()).c_str());
    case argument_string:
        return callback.set_string(variant.get<std::string>().c_str());
    case argument_analyzer:
        return callback.set_analyzer(variant.get<std::string>().c_str());
    case argument_string_list:
        callback.list_begin();
        for (const std::string& text : variant.get<string_list>()) {
            callback.list_add(text.c_str());
        }
        return callback.list_end();
    case argument_function:
        break;
    }
    fail("Unknown argument type");
}

} // namespace engine

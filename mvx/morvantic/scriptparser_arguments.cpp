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

/// A list on its way to the host, with the two arguments of the call whose inner list comes first.
struct pending_list {
    explicit pending_list(CScriptParser::value_list parsed)
        : values(std::move(parsed)), arguments(std::make_unique<CScriptArguments>(values.size())) {}

    CScriptParser::value_list values;
    std::size_t next = 0;
    std::unique_ptr<CScriptArguments> arguments;
    std::optional<CScriptArgument> call;
    std::optional<CScriptArgument> call_arguments;
};

} // namespace

CScriptParser::arguments_ptr CScriptParser::build_arguments(value_list values,
                                                            nested_lists& nested) {
    std::vector<pending_list> pending;
    pending.emplace_back(std::move(values));
    for (;;) {
        pending_list& list = pending.back();
        if (list.next != list.values.size()) {
            value& parsed = list.values[list.next++];
            CScriptArgument argument = owner->owner->create_argument();
            check_kind(parsed);
            if (parsed.first == argument_function) {
                list.call.emplace(std::move(argument));
                list.call_arguments.emplace(owner->owner->create_argument());
                pending.emplace_back(open_function(*list.call, parsed.second));
            } else {
                deliver(parsed, argument);
                list.arguments->insert(argument);
            }
            continue;
        }
        arguments_ptr complete = std::move(list.arguments);
        pending.pop_back();
        if (pending.empty()) return complete;

        pending_list& outer = pending.back();
        CScriptArguments* inner = nested.emplace_back(std::move(complete)).get();
        callback_of(*outer.call_arguments).set_arguments(inner);
        outer.arguments->insert(*outer.call);
        if (outer.call_arguments->initialized()) outer.arguments->insert(*outer.call_arguments);
        outer.call_arguments.reset();
        outer.call.reset();
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
    value_list* held = variant.held<value_list>();
    // Moved out: a cast would copy all that is nested in it, at every level.
    value_list values = held != nullptr ? std::move(*held) : variant.cast<value_list>();
    if (values.empty()) fail("Function name missing");
    const auto& [type, name] = values.back();
    if (type != argument_string && name.kind() != core::variant_text) {
        fail("Last argument must be function name as String");
    }
    callback_of(call).set_function(name.cast<std::string>().c_str());
    values.pop_back();
    return values;
}

void CScriptParser::deliver(const value& parsed, CScriptArgument& argument) {
    const auto& [type, variant] = parsed;
    CScriptArgumentCallback& callback = callback_of(argument);
    switch (type) {
    case argument_bool:
        return callback.set_bool(variant.cast<bool>());
    case argument_integer:
    case argument_enum:
        return callback.set_int(variant.cast<long long>());
    case argument_constant: // the host sees a plain string
        return callback.set_string(resolve_constant(variant.cast<std::string>()).c_str());
    case argument_string:
        return callback.set_string(variant.cast<std::string>().c_str());
    case argument_analyzer:
        return callback.set_analyzer(variant.cast<std::string>().c_str());
    case argument_string_list:
        callback.list_begin();
        for (const std::string& text : variant.cast<string_list>()) {
            callback.list_add(text.c_str());
        }
        return callback.list_end();
    case argument_function:
        break;
    }
    fail("Unknown argument type");
}

} // namespace engine

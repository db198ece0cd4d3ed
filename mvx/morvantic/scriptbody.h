#pragma once

#include "morvantic/export.h"
#include "morvantic/scriptargument.h"
#include "morvantic/scriptsection.h"
#include "morvantic/scriptvalues.h"

#include <memory>

namespace engine {

struct CScriptBodyImpl;

/// The Script section: a sink. The engine keeps nothing of it, but pushes each object and function
/// into the host's class while CScript::section runs, in the order of the text:
///
/// - object_begin, then object_property for each template parameter;
/// - object_function and global_function for the statements inside the object;
/// - object_end;
/// - global_function for a "func" statement outside any object.
///
/// All calls arrive on the thread that called CScript::section. What an operation throws ends the
/// parse, and the calls made so far stand: CScript::section logs a std::exception and gives null,
/// anything else passes. No operation may call init or section of the script that is being read.
///
/// Strings live until the call returns. An argument list lives until then too, that of an object
/// until object_end has returned; it arrives with its cursor at the end, so begin with
/// CScriptArguments::reset_index, and copy what is to stay. No list is null.
///
/// To have the engine use it, override CScript::add_section.
class MV_API CScriptBody : public CScriptSection {
public:
    /// Throws as CScriptSection does.
    CScriptBody(const char* section_namespace, const char* section_name);

    ~CScriptBody() override;

    /// An object's head: its name, empty for an object without one, its type, and the arguments
    /// between its parentheses.
    virtual void object_begin(const char* object_name, EObjectType object_type,
                              CScriptArguments* arguments) = 0;

    /// A template parameter of the object; the value is empty if it has none.
    virtual void object_property(const char* key, const char* value) = 0;

    /// A function called on the object, with the arguments between its parentheses.
    virtual void object_function(EFunctionType function_type, CScriptArguments* arguments) = 0;

    /// The object's closing brace.
    virtual void object_end() = 0;

    /// A function called on the script as a whole, inside an object or outside, with the arguments
    /// between its parentheses.
    virtual void global_function(EFunctionType function_type, CScriptArguments* arguments) = 0;

private:
    std::unique_ptr<CScriptBodyImpl> impl;
};

} // namespace engine

#pragma once

#include "morvantic/export.h"
#include "morvantic/scriptargument.h"
#include "morvantic/scriptsection.h"

#include <memory>

namespace engine {

class CScriptParser;
struct CScriptImpl;

/// Kind of a section by its name.
enum ESectionName : int {
    section_header = 0,  ///< "Header"
    section_include = 1, ///< "Include"
    section_script = 2,  ///< "Script"
    section_other = 3,   ///< any other name
};

/// Kind of a section by its namespace.
enum ESectionNamespace : int {
    namespace_app = 0,   ///< "App"
    namespace_other = 1, ///< any other namespace
};

/// One script, opened by its name in the storage. A host that only asks for the Header and Include
/// sections uses it as it is; one that wants the Script section derives from it:
///
/// @code
/// class my_script : public engine::CScript {
///     using engine::CScript::CScript;
///
///     engine::CScriptArgument create_argument() override {
///         return engine::CScriptArgument(&engine::CScriptArgument::delete_callback, new my_value);
///     }
///
///     engine::CScriptSection* add_section(const char* where, const char* name) override {
///         if (get_name(name) != engine::section_script) return CScript::add_section(where, name);
///         return __add_section(std::make_unique<my_body>(where, name));
///     }
/// };
///
/// my_script script(name);
/// script.init();
/// script.section("App", "Header");
/// script.section("App", "Include"); // first, if the Script section names Python modules
/// script.section("App", "Script");
/// @endcode
///
/// Belongs to one thread at a time; different scripts may be used at once. A script reads the
/// package that was installed when it was opened, even after that has been replaced.
class MV_API CScript {
public:
    /// Opens the script of this name, as CScriptStorageInterface::next gives it. Throws a
    /// std::exception, "Script not found." or "Failed to allocate memory.", and std::logic_error if
    /// the name is null; all are logged. A stored script whose compressed data break off is waited
    /// for without end.
    explicit CScript(const wchar_t* script_name);

    CScript(const CScript&) = delete;
    CScript& operator=(const CScript&) = delete;

    /// Destroys all sections.
    virtual ~CScript();

    /// Reads the script's outline; call it once, before asking for sections, since it goes on from
    /// where the text was last read. A std::exception from the text is logged and ends here: the
    /// sections before the fault are known, the others are not. Anything else passes. A block
    /// comment that is never closed is read without end.
    void init();

    /// The section of exactly this namespace and this name, parsed when it is first asked for. The
    /// script owns it, for its whole life. Null if the script has no such section, its text is
    /// faulty, or add_section fails; the reason is in the log. The section stays known even then,
    /// so a later call gives it, empty or filled as far as parsing came. Not to be called, nor
    /// init, from inside an operation of the host that the engine calls.
    ///
    /// A later section sees the constants and Python modules of the sections asked for before.
    /// Throws std::logic_error if an argument is null, and lets pass what is not a std::exception.
    CScriptSection* section(const char* section_namespace, const char* section_name);

    /// The kind of a section's name, case-sensitive; section_other for null.
    static ESectionName get_name(const char* section_name) noexcept;

    /// The kind of a section's namespace, case-sensitive; namespace_other for null.
    static ESectionNamespace get_namespace(const char* section_namespace) noexcept;

protected:
    /// A new argument for each value of the Script section, holding a callback of the host. The
    /// base version throws a std::exception, "Internal error.".
    virtual CScriptArgument create_argument();

    /// Makes the object that stands for a section, gives it to __add_section and returns what that
    /// returns. The strings live until it returns. The parser fills it by its class: a
    /// CScriptHeader, a CScriptInclude or a CScriptBody; any other stays as it is. The base version
    /// makes a CScriptHeader for the name "Header" in the namespace "App", a CScriptInclude for
    /// "Include" in any, and else a plain CScriptSection.
    virtual CScriptSection* add_section(const char* section_namespace, const char* section_name);

    /// Hands a section over to the script, which owns it from then on. Returns the section; null is
    /// handed back and not registered.
    CScriptSection* __add_section(std::unique_ptr<CScriptSection> section); // NOLINT

private:
    friend class CScriptParser;

    std::unique_ptr<CScriptImpl> impl;
};

} // namespace engine

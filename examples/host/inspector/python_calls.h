#pragma once

#include "evidence.h"
#include "script_plan.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace inspector {

/// Runs the Python functions that a script calls. They are foreign code, so they run in a child
/// process, which is started with the first call. It may end or hang without harm to the host: all
/// calls fail from then on.
class python_calls {
public:
    /// Gives what a hook of Default.py asks for: "resource" and its name, "app_file" with place and
    /// path, "keychain_item" and its name. What it throws reaches the function that has asked.
    using hook = std::function<std::string(const std::string& name, const value& names)>;

    python_calls(std::map<std::string, python_module> modules, hook answer_hook);
    ~python_calls();

    /// Calls the function with the value in front of the arguments that the script has written.
    /// Throws std::exception if it, or an inner call, fails. The call must stay where it is:
    /// it is known again by its address.
    value run(const recorder::value& call, const value& input);

private:
    class child;

    struct definition {
        int number;
        std::string error; // of its inner calls
    };

    const definition& defined(const recorder::value& call);
    void start();
    value answer_to(const value& request);
    value modules() const;
    value program(const recorder::value& call) const;

    std::map<std::string, python_module> m_modules;
    hook m_hook;
    std::unique_ptr<child> m_child;
    std::string m_start_error;
    std::map<const recorder::value*, definition> m_definitions;
};

} // namespace inspector

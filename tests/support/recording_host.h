#pragma once

#include "support/memory_store.h"

#include <recorder.h>
#include <stdexcept>
#include <string>

namespace support {

/// Records a script, and may fail as a host does: behind the first call.
class recording_script : public recorder::recording_script {
public:
    using recorder::recording_script::recording_script;

    bool fails = false;

protected:
    std::unique_ptr<recorder::recording_body> make_body(const char* where,
                                                        const char* name) override {
        struct failing_body : recorder::recording_body {
            using recording_body::recording_body;

            void record(recorder::call made) override {
                recording_body::record(std::move(made));
                throw std::runtime_error("host fault");
            }
        };

        if (fails) return std::make_unique<failing_body>(where, name);
        return recorder::recording_script::make_body(where, name);
    }
};

/// A text as an installed script, with its outline read.
struct recorded_text {
    explicit recorded_text(const std::string& text)
        : scripts({{L"demo.sc", text}}), script(L"demo.sc") {
        script.init();
    }

    installed_scripts scripts;
    recording_script script;
};

/// The calls that a Script section has received, one a line. It may be null.
inline std::string transcript_of(engine::CScriptSection* section) {
    auto* body = dynamic_cast<recorder::recording_body*>(section);
    if (body == nullptr) return "no body\n";
    std::string text;
    for (const recorder::call& made : body->calls())
        text += spelled(made) + "\n";
    return text;
}

} // namespace support

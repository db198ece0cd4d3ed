#pragma once

#include "support/memory_store.h"

#include <recorder.h>
#include <stdexcept>
#include <string>

namespace support {

/// Records a script, and fails as a host may: behind the call that is spelled as `throw_at`.
class recording_script : public recorder::recording_script {
public:
    using recorder::recording_script::recording_script;

    std::string throw_at;

protected:
    std::unique_ptr<recorder::recording_body> make_body(const char* where,
                                                        const char* name) override {
        class body : public recorder::recording_body {
        public:
            body(const char* where, const char* name, const std::string& throw_at)
                : recording_body(where, name), m_throw_at(throw_at) {}

        protected:
            void record(recorder::call made) override {
                const bool fails = spelled(made) == m_throw_at;
                recording_body::record(std::move(made));
                if (fails) throw std::runtime_error("host fault");
            }

        private:
            const std::string& m_throw_at;
        };

        return std::make_unique<body>(where, name, throw_at);
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

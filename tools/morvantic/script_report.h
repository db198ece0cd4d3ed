#pragma once

#include "engine_log.h"
#include "outline.h"

#include <deque>
#include <morvantic/morvantic.h>
#include <optional>
#include <recorder.h>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

// All that the engine delivers of a script, as a host gets it.

namespace tool {

struct platform_name {
    engine::EPlatformTypes flag;
    const char* name; // in a script behind "platform."
};

inline constexpr platform_name platforms[] = {{engine::platform_android, "Android"},
                                              {engine::platform_ios, "iOS"},
                                              {engine::platform_windows_phone, "WindowsPhone"},
                                              {engine::platform_blackberry, "Blackberry"}};

/// The names alone.
std::vector<std::string> platform_words();

/// An app and the platform that it runs on.
struct app_query {
    std::string app;
    platform_name platform;
};

/// What the Header section says of an app on platforms on which it says the same.
struct app_answer {
    std::string app;
    std::vector<const char*> on;
    std::vector<std::string> namespaces;
    bool has_extra_fs = false;
};

struct python_module {
    std::string name;
    std::string path;
    std::vector<std::string> dependencies;
};

using report_entry = std::variant<recorder::call, log_message>;

struct section_report {
    section_head head;
    bool is_there = true;               // the text has it
    bool is_read = true;                // it is of a kind that the engine reads
    bool is_delivered = false;          // the engine gave it out, read to its end
    std::vector<report_entry> entries;  // calls and messages in the order in which they came
    std::vector<app_answer> apps;       // of a Header section
    std::vector<python_module> modules; // of an Include section
    std::vector<std::string> xqueries;  // likewise, in their order
};

struct script_report {
    std::string name;
    std::vector<log_message> messages;   // about the script as a whole
    std::deque<section_report> sections; // none moves when another one comes

    /// Whether the engine logged an error, or did not deliver a section that is there.
    bool has_errors() const;
};

/// Opens an installed script and asks for its sections: Header first, then Include, then the Script
/// sections, those that the Header lists before the others. With a query it asks as a host does
/// that wants to know what applies: only for the Script sections of the record that fits, and gives
/// nothing if none does, or if there is no Header section. One that cannot be read is reported all
/// the same.
///
/// No step of the engine may take longer than `processor_seconds`: the process ends then. Throws
/// std::system_error if there is no log, and what opening the script throws.
std::optional<script_report> read_script(const std::wstring& name, const script_outline& outline,
                                         const std::optional<app_query>& query,
                                         unsigned processor_seconds);

/// Far more processor time than the engine takes for one step in a script of so many bytes, if the
/// step ever ends.
unsigned processor_seconds_for(std::uint64_t size) noexcept;

/// Each line indented by two blanks for each level, and printable.
std::string text_of(const script_report& report);

/// An object that is to stand two levels deep.
std::string json_of(const script_report& report);

} // namespace tool

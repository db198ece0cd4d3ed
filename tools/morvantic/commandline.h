#pragma once

#include "failure.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>

namespace tool {

/// What a subcommand does once its options are read. Throws failure instead of giving a status,
/// where a sentence is all that is to be said.
using action = std::function<exit_status()>;

/// A subcommand: one source file, one row of the table in main.cpp.
struct subcommand {
    const char* name;
    const char* summary; // one line
    /// Declares the options and gives the work that reads them.
    action (*define)(CLI::App& command);
};

extern const subcommand keygen_command;
extern const subcommand pack_command;
extern const subcommand info_command;
extern const subcommand verify_command;
extern const subcommand list_command;
extern const subcommand cat_command;
extern const subcommand dump_command;
extern const subcommand check_command;
extern const subcommand new_command;
extern const subcommand format_command;
extern const subcommand test_command;
extern const subcommand coverage_command;
extern const subcommand diff_command;

// Options that several subcommands have.
void add_package(CLI::App& command, std::string& package);
void add_public_key(CLI::App& command, std::string& key);
/// For inputs that need not be packages.
void add_package_key(CLI::App& command, std::string& key);
void add_json(CLI::App& command, bool& json);

/// Text below the options in the help: examples and such.
void add_notes(CLI::App& command, const std::string& notes);

/// Usage first, then what the command is for, then arguments and options.
std::shared_ptr<CLI::Formatter> help_formatter();

/// The action that runs `work` on the options, which live as long as it.
template <class Options>
action with_options(std::shared_ptr<Options> options, exit_status (*work)(const Options&)) {
    return [options = std::move(options), work] { return work(*options); };
}

} // namespace tool

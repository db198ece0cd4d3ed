#pragma once

#include "complaints.h"
#include "evidence.h"
#include "python_calls.h"
#include "script_plan.h"
#include "sqlite_records.h"
#include "stores.h"

#include <string>
#include <tuple>
#include <vector>

namespace inspector {

/// Files that are being read and the analyzers that read them, from the outside in.
using open_files = std::vector<std::tuple<const analyzer*, engine::EEnumValue, std::string>>;

/// Reads the stores as the analyzers of one Script section say, and lets their functions work.
class reader {
public:
    reader(const section& script_section, stores& files, python_calls& python, complaints& faults);

    /// What an analyzer makes of its files. A helper has none: others hand values to it.
    std::vector<source> read(const analyzer& how);

    /// Whether a function in an analyzer has its effect.
    static bool carries_out(const analyzer& how, const recorder::call& made);

private:
    /// One function at work, on one kind of record or on one path of a tree.
    struct statement {
        const analyzer& how;
        const recorder::call& call;
        arguments_of arguments;
        std::size_t nesting; // analyzers that have handed on what this one reads

        /// What faults in it are told under.
        std::string operator()() const { return how.name + ": " + spelled(call); }
    };

    source read_file(const analyzer& how, engine::EEnumValue place, const std::string& path,
                     std::size_t nesting);
    /// Does a part of what a source comes from, and tells the faults that it gives. If anything in
    /// it is at fault, the source says so.
    template <class Name, class Work>
    void complete(source& found, const Name& name, const Work& work);

    std::vector<std::string> fill(source& found, const analyzer& how, const value& content,
                                  const side_files& beside, std::size_t nesting);

    bool sees_missing_values(const analyzer& how);
    template <class Table, class Work>
    void each_statement(const analyzer& how, const Table& effects, std::size_t nesting,
                        const Work& work);

    void apply_to_records(const analyzer& how, database_content& content, std::size_t nesting);
    void apply_to_tree(const analyzer& how, node& root, std::size_t nesting);

    void work_on(const statement& todo, record& row, const value& input);
    void work_on(const statement& todo, node& item);

    value run(const statement& todo, std::size_t argument, const value& input);
    std::string identifier(const statement& todo, const value& input);
    source read_value(const statement& todo, const value& content);
    source read_const(const statement& todo, const value& input);
    const analyzer& helper(const statement& todo, std::size_t argument) const;

    const section& m_section;
    stores& m_stores;
    python_calls& m_python;
    complaints& m_complaints;
    open_files m_open;
};

/// What this host cannot read, and the functions and options that it does not carry out.
std::vector<std::string> left_out(const script_plan& plan);

} // namespace inspector

#pragma once

#include "evidence.h"

#include <optional>
#include <string>
#include <vector>

namespace inspector {

/// What SQLite leaves beside a database that was not closed.
struct side_files {
    std::optional<std::string> write_ahead_log;
    std::optional<std::string> journal; // of a transaction to be undone
};

/// Appends the rows of a database: of the given tables in their order, or of all tables if none is
/// given. Gives what is wrong with each table that could not be read to its end. Throws
/// std::runtime_error if the file is no database.
std::vector<std::string> read_sqlite(const std::string& database, const side_files& beside,
                                     const std::vector<std::string>& tables,
                                     std::vector<record>& records);

} // namespace inspector

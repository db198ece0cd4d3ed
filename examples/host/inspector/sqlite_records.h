#pragma once

#include "evidence.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace inspector {

/// What SQLite leaves beside a database that was not closed.
struct side_files {
    std::optional<std::string> write_ahead_log;
    std::optional<std::string> journal; // of a transaction to be undone
};

struct database_content {
    std::vector<record> records;
    std::map<std::string, std::set<std::string>> columns; // of each table; none if it is not there
    std::vector<std::string> faults;                      // of tables not read to their end
};

/// The rows of a database: of the given tables in their order, or of all tables if none is given.
/// Throws std::runtime_error if the file is no database.
database_content read_sqlite(const std::string& database, const side_files& beside,
                             const std::vector<std::string>& tables);

} // namespace inspector

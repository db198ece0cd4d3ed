#include "sqlite_records.h"

#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace fs = std::filesystem;

namespace inspector {

namespace {

/// A folder for a copy of a database: SQLite writes beside what it opens, and the evidence has to
/// stay as it is.
class scratch_folder {
public:
    scratch_folder() {
        std::string name = (fs::temp_directory_path() / "inspector-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), "temporary folder");
        }
        m_path = name;
    }

    scratch_folder(const scratch_folder&) = delete;
    scratch_folder& operator=(const scratch_folder&) = delete;

    ~scratch_folder() {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }

    fs::path write(const char* name, const std::string& content) const {
        fs::path path = m_path / name;
        std::ofstream file(path, std::ios::binary);
        file << content;
        if (!file.flush()) throw std::runtime_error("no room for a copy of the database");
        return path;
    }

private:
    fs::path m_path;
};

struct closer {
    void operator()(sqlite3* database) const { sqlite3_close(database); }

    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

using database_handle = std::unique_ptr<sqlite3, closer>;
using statement_handle = std::unique_ptr<sqlite3_stmt, closer>;

[[noreturn]] void fail(sqlite3* database) { throw std::runtime_error(sqlite3_errmsg(database)); }

database_handle open(const fs::path& path) {
    sqlite3* opened = nullptr;
    const int code = sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
    database_handle database(opened); // there is one even then
    if (code != SQLITE_OK) fail(opened);
    // The file is foreign: its views and triggers may call nothing that has an effect.
    sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    return database;
}

statement_handle prepare(sqlite3* database, const std::string& query) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(database, query.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
        fail(database);
    }
    return statement_handle(statement);
}

bool step(sqlite3* database, sqlite3_stmt* statement) {
    const int code = sqlite3_step(statement);
    if (code != SQLITE_ROW && code != SQLITE_DONE) fail(database);
    return code == SQLITE_ROW;
}

std::string quoted(const std::string& name) {
    std::string result = "\"";
    for (const char c : name)
        result += c == '"' ? "\"\"" : std::string(1, c);
    return result + '"';
}

/// Whether a journal is one of several that belong together. SQLite would open, and in the end
/// delete, the file that it names. Its last eight bytes tell (www.sqlite.org/fileformat2.html).
bool names_another(const std::string& journal) {
    const std::string_view mark = "\xD9\xD5\x05\xF9\x20\xA1\x63\xD7";
    return journal.size() >= mark.size() &&
           journal.compare(journal.size() - mark.size(), mark.size(), mark) == 0;
}

value column(sqlite3_stmt* row, int place) {
    const int type = sqlite3_column_type(row, place);
    if (type == SQLITE_INTEGER) return sqlite3_column_int64(row, place);
    if (type == SQLITE_FLOAT) return sqlite3_column_double(row, place);
    if (type == SQLITE_NULL) return nullptr;
    // The size is that of the form that was asked for last; text may be stored as UTF-16.
    const void* bytes =
        type == SQLITE_TEXT ? sqlite3_column_text(row, place) : sqlite3_column_blob(row, place);
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(row, place));
    const std::string_view content(static_cast<const char*>(bytes), size);
    return type == SQLITE_TEXT ? value(content) : from_bytes(content);
}

/// Those with rows of their own: views, and virtual tables of views, may have rows without end.
std::vector<std::string> all_tables(sqlite3* database) {
    const statement_handle list =
        prepare(database, "SELECT name FROM sqlite_master WHERE type = 'table' AND "
                          "rootpage <> 0 AND name NOT LIKE 'sqlite\\_%' ESCAPE '\\' ORDER BY name");
    std::vector<std::string> names;
    while (step(database, list.get()))
        names.push_back(to_text(column(list.get(), 0)));
    return names;
}

/// As SQLite compares names.
bool is_among(const std::vector<std::string>& names, const std::string& name) {
    return std::any_of(names.begin(), names.end(), [&](const std::string& other) {
        return sqlite3_stricmp(other.c_str(), name.c_str()) == 0;
    });
}

void read_table(sqlite3* database, const std::string& table, database_content& content) {
    const statement_handle rows = prepare(database, "SELECT * FROM " + quoted(table));
    std::vector<std::string> names;
    for (int i = 0; i != sqlite3_column_count(rows.get()); ++i)
        names.emplace_back(sqlite3_column_name(rows.get(), i));
    content.columns[table] = {names.begin(), names.end()};
    while (step(database, rows.get())) {
        record row{table};
        for (std::size_t i = 0; i != names.size(); ++i)
            row.fields.push_back({names[i], column(rows.get(), static_cast<int>(i))});
        content.records.push_back(std::move(row));
    }
}

} // namespace

database_content read_sqlite(const std::string& database, const side_files& beside,
                             const std::vector<std::string>& tables) {
    const scratch_folder scratch;
    const fs::path path = scratch.write("copy", database);
    std::size_t size = database.size();
    database_content content;
    if (beside.write_ahead_log) {
        scratch.write("copy-wal", *beside.write_ahead_log);
        size += beside.write_ahead_log->size();
    }
    if (beside.journal && names_another(*beside.journal)) {
        content.faults.emplace_back("its journal names another one, and is left out");
    } else if (beside.journal) {
        scratch.write("copy-journal", *beside.journal);
    }
    const database_handle handle = open(path);
    // What columns are generated by may ask for values of any size.
    constexpr std::size_t least = 65536;        // for its own texts
    constexpr std::size_t most = 1'000'000'000; // as SQLite has it
    sqlite3_limit(handle.get(), SQLITE_LIMIT_LENGTH,
                  static_cast<int>(std::clamp(size, least, most)));
    const std::vector<std::string> existing = all_tables(handle.get());

    std::vector<std::string> wanted;
    for (const std::string& table : tables.empty() ? existing : tables) {
        if (is_among(wanted, table)) continue;
        wanted.push_back(table);
        content.columns[table];
        try {
            if (!is_among(existing, table)) {
                throw std::runtime_error("no such table: " + table);
            }
            read_table(handle.get(), table, content);
        } catch (const std::exception& failure) {
            content.faults.emplace_back(failure.what());
        }
    }
    return content;
}

} // namespace inspector

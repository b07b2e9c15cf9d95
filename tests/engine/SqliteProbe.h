#pragma once

#include <filesystem>
#include <sqlite3.h>
#include <string>

namespace corvane::testing {

// The first column of the first row of a query, read on a connection of its own; -1 when the
// query fails or finds nothing.
inline double sqliteScalar(const std::filesystem::path& file, const std::string& sql) {
    sqlite3* db = nullptr;
    double result = -1;
    if (sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
        sqlite3_stmt* stmt = nullptr;
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) == SQLITE_OK &&
            sqlite3_step(stmt) == SQLITE_ROW)
            result = sqlite3_column_double(stmt, 0);
        sqlite3_finalize(stmt);
    }
    sqlite3_close(db);
    return result;
}

} // namespace corvane::testing

#pragma once

#include "foundation/Value.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace corvane {

// One SQLite file of the history. Statements are the collectors' own texts with "%@" standing
// for the table; they are prepared once and kept. Every failure is logged and answered with a
// neutral result; nothing here deletes a file or a table.
class HistoryDatabase {
public:
    // Opens or creates the file in write-ahead-log mode. Nothing when the file cannot be opened
    // or is not a database; the file is then left as it was.
    static std::unique_ptr<HistoryDatabase> open(const std::filesystem::path& file);
    ~HistoryDatabase();
    HistoryDatabase(const HistoryDatabase&) = delete;
    HistoryDatabase& operator=(const HistoryDatabase&) = delete;

    const std::filesystem::path& file() const { return file_; }

    // "%@" in a collector's text replaced by the table name.
    static std::string statementFor(std::string_view text, std::string_view table);
    // The column names of an insert text, in the order of its values; constants included.
    static std::vector<std::string> insertColumns(std::string_view insertText);
    // Table names are built from a collector's prefix; anything but letters, digits and "_" is
    // refused so that a name never needs quoting.
    static bool validTableName(std::string_view name);

    bool tableExists(const std::string& table);
    std::vector<std::string> tableColumns(const std::string& table);
    // Creates the table from the create text if it is missing, then adds every column that the
    // insert text names and the table lacks.
    bool prepareTable(const std::string& table, std::string_view createText,
                      std::string_view insertText);
    bool execute(const std::string& sql);

    // Binds the row's values for `keys` in order (missing values as 0) and runs the insert.
    bool insert(const std::string& table, std::string_view insertText, const Value& keys,
                const Value& row);

    // The newest rows by sample, at most `limit`, newest first, as dictionaries under the
    // names of `keys`; only rows of `uuid` when one is given.
    std::vector<Value> newestRows(const std::string& table, std::string_view insertText,
                                  const Value& keys, int limit,
                                  const std::optional<std::string>& uuid = std::nullopt);
    // Largest sample identifier stored, 0 for none.
    double largestSample(const std::string& table);
    // Drops rows older than the time or not above the identifier: the history keeps what its
    // ring can show.
    bool deleteRowsBeforeTime(const std::string& table, double time);
    bool deleteRowsUpToSample(const std::string& table, double sample);

    // Many rows in one transaction; nesting is counted.
    void beginBatch();
    void commitBatch();

private:
    // Owners of SQLite's handles; statements go before the connection they belong to.
    struct CloseDatabase {
        void operator()(sqlite3* db) const;
    };
    struct FinalizeStatement {
        void operator()(sqlite3_stmt* statement) const;
    };
    using Connection = std::unique_ptr<sqlite3, CloseDatabase>;
    using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

    HistoryDatabase(Connection db, std::filesystem::path file);
    sqlite3_stmt* statement(const std::string& sql);
    void joinBatch();
    // Runs a kept statement without parameters.
    bool step(const std::string& sql);
    void logFailure(const char* what, const std::string& detail);

    Connection db_;
    std::filesystem::path file_;
    std::unordered_map<std::string, Statement> statements_;
    std::unordered_set<std::string> reported_;
    int batchDepth_ = 0;
};

} // namespace corvane

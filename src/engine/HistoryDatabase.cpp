#include "engine/HistoryDatabase.h"

#include "foundation/Log.h"

#include <algorithm>
#include <cctype>
#include <sqlite3.h>

namespace corvane {

namespace {

std::string trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\n");
    if (first == std::string_view::npos)
        return {};
    const auto last = text.find_last_not_of(" \t\n");
    return std::string(text.substr(first, last - first + 1));
}

bool isIdentifier(std::string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
    });
}

// The column list and the value list of "insert into %@ (a, b) values (?, 1)".
std::pair<std::vector<std::string>, std::vector<std::string>>
insertLists(std::string_view insertText) {
    std::vector<std::string> lists[2];
    std::size_t position = 0;
    for (auto& list : lists) {
        const auto open = insertText.find('(', position);
        const auto close = insertText.find(')', open == std::string_view::npos ? position : open);
        if (open == std::string_view::npos || close == std::string_view::npos)
            return {};
        std::string_view inside = insertText.substr(open + 1, close - open - 1);
        while (!inside.empty()) {
            const auto comma = inside.find(',');
            list.push_back(trimmed(inside.substr(0, comma)));
            if (comma == std::string_view::npos)
                break;
            inside.remove_prefix(comma + 1);
        }
        position = close + 1;
    }
    return {std::move(lists[0]), std::move(lists[1])};
}

} // namespace

std::unique_ptr<HistoryDatabase> HistoryDatabase::open(const std::filesystem::path& file) {
    std::error_code error;
    std::filesystem::create_directories(file.parent_path(), error);
    sqlite3* handle = nullptr;
    const int rc =
        sqlite3_open_v2(file.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    Connection connection(handle);
    sqlite3* db = connection.get();
    if (rc != SQLITE_OK) {
        CVBLog("history database %s cannot be opened (%s); history is off", file.c_str(),
               db ? sqlite3_errmsg(db) : sqlite3_errstr(rc));
        return nullptr;
    }
    sqlite3_busy_timeout(db, 2000);
    // The first read of a file that is not a database fails here, before anything is written.
    char* message = nullptr;
    if (sqlite3_exec(db, "select count(*) from sqlite_master", nullptr, nullptr, &message) !=
            SQLITE_OK ||
        sqlite3_exec(db, "pragma journal_mode=WAL", nullptr, nullptr, &message) != SQLITE_OK) {
        CVBLog("history database %s is unreadable (%s); it is left as it is and history is off",
               file.c_str(), message ? message : sqlite3_errmsg(db));
        sqlite3_free(message);
        return nullptr;
    }
    // Write-ahead logging lets a reader (a snapshot, a second process) in without stalling the
    // beat's writes; a lost last period after a power cut is acceptable, a sync per row is not.
    sqlite3_exec(db, "pragma synchronous=NORMAL", nullptr, nullptr, nullptr);
    // Rows are appended and read back once at start: the few pages an append touches fit in
    // 64 KiB, where the default two megabytes a file would stay resident all day. A miss costs a
    // read from the kernel's page cache, a few times a minute.
    sqlite3_exec(db, "pragma cache_size=-64", nullptr, nullptr, nullptr);
    return std::unique_ptr<HistoryDatabase>(new HistoryDatabase(std::move(connection), file));
}

void HistoryDatabase::CloseDatabase::operator()(sqlite3* db) const {
    sqlite3_close(db);
}

void HistoryDatabase::FinalizeStatement::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

HistoryDatabase::HistoryDatabase(Connection db, std::filesystem::path file)
    : db_(std::move(db))
    , file_(std::move(file)) {}

HistoryDatabase::~HistoryDatabase() {
    while (batchDepth_ > 0)
        commitBatch();
}

void HistoryDatabase::logFailure(const char* what, const std::string& detail) {
    // Once per statement: a full disk would otherwise repeat the line every period.
    if (!reported_.insert(std::string(what) + detail).second)
        return;
    CVBLog("history database %s: %s failed (%s): %s", file_.c_str(), what,
           sqlite3_errmsg(db_.get()), detail.c_str());
}

std::string HistoryDatabase::statementFor(std::string_view text, std::string_view table) {
    std::string out;
    out.reserve(text.size() + table.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 1 < text.size() && text[i + 1] == '@') {
            out.append(table);
            ++i;
        } else {
            out.push_back(text[i]);
        }
    }
    return out;
}

std::vector<std::string> HistoryDatabase::insertColumns(std::string_view insertText) {
    return insertLists(insertText).first;
}

bool HistoryDatabase::validTableName(std::string_view name) {
    return isIdentifier(name);
}

sqlite3_stmt* HistoryDatabase::statement(const std::string& sql) {
    if (auto it = statements_.find(sql); it != statements_.end()) {
        sqlite3_reset(it->second.get());
        sqlite3_clear_bindings(it->second.get());
        return it->second.get();
    }
    sqlite3_stmt* handle = nullptr;
    const int rc = sqlite3_prepare_v2(db_.get(), sql.c_str(), -1, &handle, nullptr);
    Statement prepared(handle);
    if (rc != SQLITE_OK) {
        logFailure("prepare", sql);
        return nullptr;
    }
    return statements_.emplace(sql, std::move(prepared)).first->second.get();
}

bool HistoryDatabase::execute(const std::string& sql) {
    char* message = nullptr;
    if (sqlite3_exec(db_.get(), sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
        CVBLog("history database %s: %s (%s)", file_.c_str(), message ? message : "error",
               sql.c_str());
        sqlite3_free(message);
        return false;
    }
    return true;
}

bool HistoryDatabase::tableExists(const std::string& table) {
    sqlite3_stmt* stmt = statement("select 1 from sqlite_master where type = 'table' and name = ?");
    if (!stmt)
        return false;
    sqlite3_bind_text(stmt, 1, table.c_str(), -1, SQLITE_TRANSIENT);
    const bool found = sqlite3_step(stmt) == SQLITE_ROW;
    sqlite3_reset(stmt);
    return found;
}

std::vector<std::string> HistoryDatabase::tableColumns(const std::string& table) {
    std::vector<std::string> columns;
    if (!isIdentifier(table))
        return columns;
    sqlite3_stmt* stmt = statement("pragma table_info(" + table + ")");
    if (!stmt)
        return columns;
    while (sqlite3_step(stmt) == SQLITE_ROW) {
        const auto* name = sqlite3_column_text(stmt, 1);
        if (name)
            columns.emplace_back(reinterpret_cast<const char*>(name));
    }
    sqlite3_reset(stmt);
    return columns;
}

bool HistoryDatabase::prepareTable(const std::string& table, std::string_view createText,
                                   std::string_view insertText) {
    if (!isIdentifier(table)) {
        CVBLog("history table name \"%s\" refused", table.c_str());
        return false;
    }
    if (createText.empty() || insertText.empty()) {
        CVBLog("history table %s has no create or insert text; not kept", table.c_str());
        return false;
    }
    if (!tableExists(table) && !execute(statementFor(createText, table)))
        return false;
    // An insert may name a column that the create text lacks: the disk family writes a
    // constant "format" that no create declares. The column is added with a default of 0,
    // so rows from before keep their values and read as the older layout (format 0).
    const auto present = tableColumns(table);
    for (const std::string& column : insertColumns(insertText)) {
        if (!isIdentifier(column) ||
            std::find(present.begin(), present.end(), column) != present.end())
            continue;
        if (!execute("alter table " + table + " add column " + column +
                     " integer NOT NULL DEFAULT 0"))
            return false;
        CVBLog("history table %s: added column %s", table.c_str(), column.c_str());
    }
    return true;
}

bool HistoryDatabase::insert(const std::string& table, std::string_view insertText,
                             const Value& keys, const Value& row) {
    joinBatch();
    sqlite3_stmt* stmt = statement(statementFor(insertText, table));
    if (!stmt)
        return false;
    const int parameters = sqlite3_bind_parameter_count(stmt);
    const auto& names = keys.arrayItems();
    for (int i = 0; i < parameters && i < static_cast<int>(names.size()); ++i) {
        const Value& value = row[names[static_cast<std::size_t>(i)].string()];
        if (value.isString())
            sqlite3_bind_text(stmt, i + 1, value.string().c_str(), -1, SQLITE_TRANSIENT);
        else if (value.isBool() || value.isInteger())
            sqlite3_bind_int64(stmt, i + 1, value.integerValue());
        else
            sqlite3_bind_double(stmt, i + 1, value.doubleValue());
    }
    const int rc = sqlite3_step(stmt);
    sqlite3_reset(stmt);
    if (rc != SQLITE_DONE) {
        logFailure("insert", table);
        return false;
    }
    return true;
}

std::vector<Value> HistoryDatabase::newestRows(const std::string& table,
                                               std::string_view insertText, const Value& keys,
                                               int limit, const std::optional<std::string>& uuid) {
    std::vector<Value> rows;
    if (!isIdentifier(table))
        return rows;
    // Pair each key with its column; constants (the "format" 1) have no key and are not read.
    auto [columns, values] = insertLists(insertText);
    const auto& names = keys.arrayItems();
    std::vector<std::pair<std::string, std::string>> wanted; // column, key
    std::size_t keyIndex = 0;
    for (std::size_t i = 0; i < columns.size() && i < values.size(); ++i) {
        if (values[i] != "?" || keyIndex >= names.size())
            continue;
        if (isIdentifier(columns[i]))
            wanted.emplace_back(columns[i], names[keyIndex].string());
        ++keyIndex;
    }
    if (wanted.empty())
        return rows;
    std::string sql = "select ";
    for (std::size_t i = 0; i < wanted.size(); ++i)
        sql += (i ? ", " : "") + wanted[i].first;
    sql += " from " + table + (uuid ? " where uuid = ?" : "") + " order by sample desc limit ?";
    sqlite3_stmt* stmt = statement(sql);
    if (!stmt)
        return rows;
    int parameter = 1;
    if (uuid)
        sqlite3_bind_text(stmt, parameter++, uuid->c_str(), -1, SQLITE_TRANSIENT);
    sqlite3_bind_int(stmt, parameter, limit);
    int rc;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
        Value row = Value::Dictionary{};
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            const int column = static_cast<int>(i);
            switch (sqlite3_column_type(stmt, column)) {
            case SQLITE_TEXT:
                row.set(wanted[i].second, std::string(reinterpret_cast<const char*>(
                                              sqlite3_column_text(stmt, column))));
                break;
            case SQLITE_NULL:
                break;
            default:
                row.set(wanted[i].second, sqlite3_column_double(stmt, column));
            }
        }
        rows.push_back(std::move(row));
    }
    if (rc != SQLITE_DONE)
        logFailure("read", table);
    sqlite3_reset(stmt);
    return rows;
}

double HistoryDatabase::largestSample(const std::string& table) {
    if (!isIdentifier(table))
        return 0;
    sqlite3_stmt* stmt = statement("select max(sample) from " + table);
    if (!stmt)
        return 0;
    const double largest = sqlite3_step(stmt) == SQLITE_ROW ? sqlite3_column_double(stmt, 0) : 0;
    sqlite3_reset(stmt);
    return largest;
}

bool HistoryDatabase::deleteRowsBeforeTime(const std::string& table, double time) {
    if (!isIdentifier(table))
        return false;
    joinBatch();
    sqlite3_stmt* stmt = statement("delete from " + table + " where time < ?");
    if (!stmt)
        return false;
    sqlite3_bind_double(stmt, 1, time);
    const bool done = sqlite3_step(stmt) == SQLITE_DONE;
    sqlite3_reset(stmt);
    return done;
}

bool HistoryDatabase::deleteRowsUpToSample(const std::string& table, double sample) {
    if (!isIdentifier(table))
        return false;
    joinBatch();
    sqlite3_stmt* stmt = statement("delete from " + table + " where sample <= ?");
    if (!stmt)
        return false;
    sqlite3_bind_double(stmt, 1, sample);
    const bool done = sqlite3_step(stmt) == SQLITE_DONE;
    sqlite3_reset(stmt);
    return done;
}

void HistoryDatabase::beginBatch() {
    ++batchDepth_;
}

// The transaction starts with a batch's first change: most beats write nothing, and an empty
// transaction still costs a parse and two locks of the file.
void HistoryDatabase::joinBatch() {
    if (batchDepth_ > 0 && sqlite3_get_autocommit(db_.get()))
        step("begin");
}

bool HistoryDatabase::step(const std::string& sql) {
    sqlite3_stmt* stmt = statement(sql);
    if (!stmt)
        return false;
    const int rc = sqlite3_step(stmt);
    sqlite3_reset(stmt);
    if (rc != SQLITE_DONE && rc != SQLITE_ROW)
        logFailure("statement", sql);
    return rc == SQLITE_DONE || rc == SQLITE_ROW;
}

void HistoryDatabase::commitBatch() {
    if (batchDepth_ == 0)
        return;
    // A commit that fails (another process holds the file) leaves the transaction open; the
    // next batch joins it and tries again, so no row is dropped.
    if (--batchDepth_ == 0 && !sqlite3_get_autocommit(db_.get()))
        step("commit");
}

} // namespace corvane

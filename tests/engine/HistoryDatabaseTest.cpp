#include "engine/HistoryDatabase.h"

#include "SqliteProbe.h"
#include "foundation/Log.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

namespace corvane {
namespace {

// The disk family's texts: the insert names a "format" column that the create lacks.
constexpr const char* kDiskCreate =
    "create table %@ (sample double NOT NULL, time double NOT NULL DEFAULT 0, uuid varchar(100) "
    "NOT NULL, used double NOT NULL DEFAULT 0, free double NOT NULL DEFAULT 0, size double NOT "
    "NULL, pur double NOT NULL DEFAULT 0)";
constexpr const char* kDiskInsert = "insert into %@ (sample, time, pur, used, free, size, uuid, "
                                    "format) values (?, ?, ?, ?, ?, ?, ?, 1)";
const Value kDiskKeys = Value::array({"sample", "time", "pur", "u", "f", "s", "uuid"});

Value diskRow(double sample, const char* uuid) {
    return Value::dict({{"sample", sample},
                        {"time", 100.0 * sample},
                        {"pur", 1.0},
                        {"u", 10.0 * sample},
                        {"f", 5.0},
                        {"s", 50.0},
                        {"uuid", uuid}});
}

TEST(HistoryDatabaseFormat, MissingInsertColumnIsAddedAndOldRowsKept) {
    test::TemporaryDirectory dir;
    const auto file = dir / "history.sqlite";
    {
        // A database written before the column existed.
        auto db = HistoryDatabase::open(file);
        ASSERT_TRUE(db);
        ASSERT_TRUE(db->execute(HistoryDatabase::statementFor(kDiskCreate, "disk_items_1")));
        ASSERT_TRUE(db->execute("insert into disk_items_1 (sample, time, uuid, size) values "
                                "(1, 100, 'old', 50)"));
    }
    auto db = HistoryDatabase::open(file);
    ASSERT_TRUE(db);
    LogCapture log;
    ASSERT_TRUE(db->prepareTable("disk_items_1", kDiskCreate, kDiskInsert));
    EXPECT_TRUE(log.contains("added column format"));
    ASSERT_TRUE(db->insert("disk_items_1", kDiskInsert, kDiskKeys, diskRow(2, "new")));

    const auto rows = db->newestRows("disk_items_1", kDiskInsert, kDiskKeys, 10);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0]["uuid"].stringValue(), "new");
    EXPECT_EQ(rows[0]["u"].doubleValue(), 20.0);
    EXPECT_EQ(rows[1]["uuid"].stringValue(), "old");
    EXPECT_EQ(db->tableColumns("disk_items_1").back(), "format");
    EXPECT_EQ(testing::sqliteScalar(file, "select format from disk_items_1 where uuid = 'old'"), 0);
    EXPECT_EQ(testing::sqliteScalar(file, "select format from disk_items_1 where uuid = 'new'"), 1);

    // Preparing again changes nothing.
    LogCapture again;
    EXPECT_TRUE(db->prepareTable("disk_items_1", kDiskCreate, kDiskInsert));
    EXPECT_FALSE(again.contains("added column"));
}

TEST(HistoryDatabaseRows, FailedInsertIsLoggedNotFatal) {
    test::TemporaryDirectory dir;
    auto db = HistoryDatabase::open(dir / "h.sqlite");
    ASSERT_TRUE(db);
    const char* create = "create table %@ (sample double PRIMARY KEY NOT NULL, time double)";
    const char* insert = "insert into %@ (sample, time) values (?, ?)";
    const Value keys = Value::array({"sample", "time"});
    ASSERT_TRUE(db->prepareTable("t_1", create, insert));
    EXPECT_TRUE(db->insert("t_1", insert, keys, Value::dict({{"sample", 1}, {"time", 1.0}})));
    LogCapture log;
    EXPECT_FALSE(db->insert("t_1", insert, keys, Value::dict({{"sample", 1}, {"time", 2.0}})));
    EXPECT_TRUE(log.contains("insert failed"));
    EXPECT_TRUE(db->insert("t_1", insert, keys, Value::dict({{"sample", 2}, {"time", 2.0}})))
        << "the statement is usable after a failure";
}

} // namespace
} // namespace corvane

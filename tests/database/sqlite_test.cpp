// Arrays into tables and back on the real SQLite ODBC driver, and the
// failure paths of every writer: each failure leaves the table as it was.
#include <gtest/gtest.h>

#include "support.hpp"

namespace vantrove::testing {
namespace {

class SqliteTransfer : public ::testing::Test {
 protected:
  void SetUp() override {
    db = SqliteDatabase(dir, "parts.db",
                        {"CREATE TABLE parts(id INTEGER NOT NULL, name TEXT, qty REAL CHECK (qty >= 0), made TIMESTAMP)",
                         "CREATE TABLE log(what TEXT)",
                         "CREATE TRIGGER parts_deleted AFTER DELETE ON parts BEGIN INSERT INTO log VALUES ('delete'); END"});
    conn = SqliteConnection(db);
  }
  Rows_t Parts() { return Query(conn, "SELECT id, name, qty FROM parts ORDER BY rowid"); }
  void Seed() { Exec(conn, {"INSERT INTO parts VALUES (7, 'old', 1, NULL)"}); }

  TempDir dir;
  std::string db, conn;
  clsVantrove v;
};

TEST_F(SqliteTransfer, WritesColumnsToFieldsByPositionAndReadsThemBack) {
  const Variant data = Array({{int32_t{1}, "Grüße ✓ 日本", 2.5, Variant(DateSerial(2024, 3, 1, 10, 30, 0))},
                              {int16_t{2}, "nut", "3", Variant::Null()},
                              {"3", Variant(), int32_t{0}, Variant()}});
  ASSERT_EQ(v.TwoDArrayToDatabaseTable(data, conn, "parts"), 1) << LastDatabaseDiagnostic();
  EXPECT_EQ(Parts(), (Rows_t{{"1", "Grüße ✓ 日本", "2.5"}, {"2", "nut", "3"}, {"3", "NULL", "0"}}));

  Variant out{SafeArray()};
  ASSERT_EQ(v.DatabaseTableToArray(conn, "SELECT * FROM parts ORDER BY id", out, "", "", true), 1);
  const SafeArray& a = out.array();
  EXPECT_EQ(a.LBound(1), 0);
  EXPECT_EQ(a.UBound(1), 3);
  EXPECT_EQ(a.UBound(2), 3);
  EXPECT_EQ(CStr(a.at(0, 0)), "id");
  EXPECT_EQ(CStr(a.at(0, 3)), "made");
  EXPECT_EQ(CStr(a.at(1, 1)), "Grüße ✓ 日本");
  EXPECT_EQ(a.at(1, 0).type(), VarType::Long);
  EXPECT_EQ(a.at(1, 2).type(), VarType::Double);
  EXPECT_EQ(a.at(1, 3).type(), VarType::Date);
  EXPECT_EQ(CDbl(a.at(1, 3)), DateSerial(2024, 3, 1, 10, 30, 0).serial);
  EXPECT_TRUE(a.at(2, 3).IsNull());
}

TEST_F(SqliteTransfer, FewerColumnsFillTheFirstFields) {
  ASSERT_EQ(v.TwoDArrayToDatabaseTable(Array({{int32_t{4}, "washer"}}), conn, "parts"), 1);
  EXPECT_EQ(Parts(), (Rows_t{{"4", "washer", "NULL"}}));
}

TEST_F(SqliteTransfer, NotAnArrayTouchesNothing) {
  EXPECT_EQ(v.TwoDArrayToDatabaseTable(Variant(""), SqliteConnection(dir / "never.db"), "parts"), -1);
  EXPECT_FALSE(fs::exists(dir / "never.db"));
  EXPECT_EQ(v.TwoDArrayToAccessTable(Variant(""), dir / "never.db", "parts"), -1);
}

TEST_F(SqliteTransfer, WrongDriverAndMissingTable) {
  EXPECT_EQ(v.TwoDArrayToDatabaseTable(Array({{1}}), "Driver=NoSuchDriver;Database=" + db + ";", "parts"), -2);
  EXPECT_NE(LastDatabaseDiagnostic().find("NoSuchDriver"), std::string::npos) << LastDatabaseDiagnostic();
  EXPECT_EQ(v.TwoDArrayToDatabaseTable(Array({{1}}), "NoSuchDsn", "parts"), -2);
  EXPECT_EQ(v.TwoDArrayToDatabaseTable(Array({{1}}), conn, "no_such_table"), -3);
  EXPECT_NE(LastDatabaseDiagnostic().find("no_such_table"), std::string::npos);
}

TEST_F(SqliteTransfer, MoreColumnsThanFieldsIsRefusedWithTheTableUnchanged) {
  Seed();
  const Variant five = Array({{1, "a", 1, Variant(), "extra"}});
  EXPECT_EQ(v.TwoDArrayToDatabaseTable(five, conn, "parts", "", "", true), -4);
  // An array from 1 is held to one column fewer: upper bound 4 + 1 > 4 fields.
  SafeArray fromOne({Bounds{1, 1}, Bounds{1, 4}});
  EXPECT_EQ(v.TwoDArrayToDatabaseTable(Variant(fromOne), conn, "parts"), -4);
  EXPECT_EQ(Parts(), (Rows_t{{"7", "old", "1"}}));
  EXPECT_EQ(Query(conn, "SELECT COUNT(*) FROM log"), (Rows_t{{"0"}}));  // the deletion was rolled back too
}

TEST_F(SqliteTransfer, ARefusedValueRollsBackEverything) {
  Seed();
  // Row 3 breaks the CHECK constraint; rows 1 and 2 and the deletion must go too.
  const Variant data = Array({{1, "a", 1, Variant()}, {2, "b", 2, Variant()}, {3, "c", -1, Variant()}});
  EXPECT_EQ(v.TwoDArrayToDatabaseTable(data, conn, "parts", "", "", true), -5);
  EXPECT_NE(LastDatabaseDiagnostic().find("rolled back"), std::string::npos);
  // NOT NULL, and a text where the field takes integers.
  EXPECT_EQ(v.TwoDArrayToDatabaseTable(Array({{Variant::Null(), "x", 1, Variant()}}), conn, "parts"), -5);
  EXPECT_EQ(v.TwoDArrayToDatabaseTable(Array({{"seven", "x", 1, Variant()}}), conn, "parts"), -5);
  EXPECT_EQ(Parts(), (Rows_t{{"7", "old", "1"}}));
  EXPECT_EQ(Query(conn, "SELECT COUNT(*) FROM log"), (Rows_t{{"0"}}));
}

TEST_F(SqliteTransfer, OverwriteDeletesOnlyATableThatHoldsRecords) {
  ASSERT_EQ(v.TwoDArrayToDatabaseTable(Array({{1, "a", 1, Variant()}}), conn, "parts", "", "", true), 1);
  EXPECT_EQ(Query(conn, "SELECT COUNT(*) FROM log"), (Rows_t{{"0"}}));  // empty table: no deletion
  ASSERT_EQ(v.TwoDArrayToDatabaseTable(Array({{2, "b", 2, Variant()}}), conn, "parts", "", "", true), 1);
  EXPECT_EQ(Query(conn, "SELECT COUNT(*) FROM log"), (Rows_t{{"1"}}));
  EXPECT_EQ(Parts(), (Rows_t{{"2", "b", "2"}}));
  ASSERT_EQ(v.TwoDArrayToDatabaseTable(Array({{3, "c", 3, Variant()}}), conn, "parts"), 1);  // appends
  EXPECT_EQ(Parts(), (Rows_t{{"2", "b", "2"}, {"3", "c", "3"}}));
}

TEST_F(SqliteTransfer, QueriesBeforeAndAfterInsertionRunInsideTheTransaction) {
  const std::string before = "  INSERT INTO log VALUES ('before')  ";
  const std::string after = "INSERT INTO log VALUES ('after')";
  // Empty table: the query before is skipped, the one after runs.
  ASSERT_EQ(v.TwoDArrayToAccessTable(Array({{1, "a", 1, Variant()}}), db, "parts", "", before, after), 1)
      << LastDatabaseDiagnostic();
  EXPECT_EQ(Query(conn, "SELECT what FROM log"), (Rows_t{{"after"}}));
  ASSERT_EQ(v.TwoDArrayToAccessTable(Array({{2, "b", 2, Variant()}}), db, "parts", "", before, after), 1);
  EXPECT_EQ(Query(conn, "SELECT what FROM log"), (Rows_t{{"after"}, {"before"}, {"after"}}));
  // A query that fails undoes the insertion and the other query.
  EXPECT_EQ(v.TwoDArrayToAccessTable(Array({{3, "c", 3, Variant()}}), db, "parts", "", before, "DELETE FROM nowhere"),
            -5);
  EXPECT_EQ(Parts(), (Rows_t{{"1", "a", "1"}, {"2", "b", "2"}}));
  EXPECT_EQ(Query(conn, "SELECT COUNT(*) FROM log"), (Rows_t{{"3"}}));
  // A deletion as the query before: the table is replaced.
  ASSERT_EQ(v.TwoDArrayToVisualFoxproTable(Array({{9, "z", 9, Variant()}}), db, "parts", "DELETE FROM parts"), 1);
  EXPECT_EQ(Parts(), (Rows_t{{"9", "z", "9"}}));
}

TEST_F(SqliteTransfer, FileDatabaseRoles) {
  EXPECT_EQ(v.TwoDArrayToAccessTable(Array({{1, "a", 1, Variant()}}), db, "parts", "ignored-password", "", "", true), 1)
      << LastDatabaseDiagnostic();
  EXPECT_EQ(v.TwoDArrayToAccessTable(Array({{1}}), dir / "missing.mdb", "parts"), -2);
  EXPECT_FALSE(fs::exists(dir / "missing.mdb"));
  EXPECT_EQ(v.TwoDArrayToAccessTable(Array({{1}}), db, "missing_table"), -3);
  EXPECT_EQ(Parts(), (Rows_t{{"1", "a", "1"}}));
}

TEST_F(SqliteTransfer, ServerRolesFailCleanlyWithoutTheirServers) {
  const std::string closed = "127.0.0.1," + std::to_string(ClosedPort());
  double took = Seconds([&] { EXPECT_EQ(v.TwoDArrayToSQLServerTable(Array({{1}}), closed, "db", "t", false, "sa", "x"), -2); });
  EXPECT_LT(took, 15.0);
  EXPECT_NE(LastDatabaseDiagnostic().find("FreeTDS"), std::string::npos) << LastDatabaseDiagnostic();
  took = Seconds([&] { EXPECT_EQ(v.TwoDArrayToSybaseTable(Array({{1}}), "127.0.0.1", "db", "t", "sa", "x"), -2); });
  EXPECT_LT(took, 15.0);
  EXPECT_EQ(v.TwoDArrayToOracleTable(Array({{1}}), dwgOracle, "orcl", "t"), -2);
  EXPECT_NE(LastDatabaseDiagnostic().find("No Oracle ODBC driver"), std::string::npos) << LastDatabaseDiagnostic();
  EXPECT_EQ(v.TwoDArrayToMySQLTable(Array({{1}}), "127.0.0.1:" + std::to_string(ClosedPort()) + "/db", "t"), -2);
}

TEST_F(SqliteTransfer, TwinsAndLateBindingGiveTheSameResults) {
  std::vector<Variant> args = {Array({{5, "late", 5, Variant()}}), Variant(conn), Variant("parts")};
  InvokeResult r = v.Invoke("Web_TwoDArrayToDatabaseTable", args);
  EXPECT_EQ(CLng(r.value), 1);
  args = {Variant(""), Variant(conn), Variant("parts")};
  EXPECT_EQ(CLng(v.Invoke("TwoDArrayToDatabaseTable", args).value), -1);
  args = {Array({{6, "web", 6, Variant()}}), Variant(db), Variant("parts")};
  EXPECT_EQ(CLng(v.Invoke("Web_TwoDArrayToAccessTable", args).value), 1);
  args = {Array({{1}}), Variant(int32_t{1}), Variant("orcl"), Variant("t")};
  EXPECT_EQ(CLng(v.Invoke("Web_TwoDArrayToOracleTable", args).value), -2);
  EXPECT_EQ(Parts(), (Rows_t{{"5", "late", "5"}, {"6", "web", "6"}}));
}

TEST_F(SqliteTransfer, ReadingFailures) {
  Variant notArray;
  EXPECT_EQ(v.DatabaseTableToArray(conn, "SELECT * FROM parts", notArray), -1);
  Variant out{SafeArray()};
  EXPECT_EQ(v.DatabaseTableToArray("Driver=NoSuchDriver;", "SELECT 1", out), -2);
  EXPECT_EQ(v.DatabaseTableToArray(conn, "SELECT * FROM nowhere", out), -3);
  // Zero records with headings: one heading row.
  ASSERT_EQ(v.DatabaseTableToArray(conn, "SELECT id, name FROM parts", out, "", "", true), 1);
  EXPECT_EQ(Rows(out), (Rows_t{{"id", "name"}}));
  ASSERT_EQ(v.DatabaseTableToArray(conn, "SELECT id, name FROM parts", out), 1);
  EXPECT_EQ(out.array().UBound(1), -1);
}

TEST(DataSourceNames, ListTheSystemAndUserSources) {
  clsVantrove v;
  const Variant system = v.SystemDSNsToOneDArray();
  ASSERT_TRUE(system.IsArray());
  EXPECT_EQ(system.array().element_type(), VarType::String);
  std::vector<std::string> names;
  for (const Variant& n : system.array().data()) names.push_back(CStr(n));
  EXPECT_EQ(names, (std::vector<std::string>{"TestSystemSqlite"}));
  const Variant all = v.AllDSNsToOneDArray();
  names.clear();
  for (const Variant& n : all.array().data()) names.push_back(CStr(n));
  EXPECT_EQ(names, (std::vector<std::string>{"TestUserSqlite", "TestSystemSqlite"}));
  EXPECT_EQ(all.array().LBound(1), 0);

  // A data source name given alone connects through the "DSN=" form.
  Exec("DSN=TestUserSqlite;", {"CREATE TABLE IF NOT EXISTS t(a INTEGER, b TEXT)"});
  EXPECT_EQ(v.TwoDArrayToDatabaseTable(Array({{1, "x"}}), "TestUserSqlite", "t"), 1) << LastDatabaseDiagnostic();
  Variant out{SafeArray()};
  EXPECT_EQ(v.DatabaseTableToArray("TestUserSqlite", "SELECT * FROM t", out), 1);
  EXPECT_EQ(Rows(out), (Rows_t{{"1", "x"}}));
}

// The driver manager keeps what it read of its files for the process, so
// this runs in a fresh process of its own.
TEST(DataSourceNames, NoSystemSourcesGiveEmpty) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        TempDir empty;
        ::setenv("ODBCSYSINI", empty.path().c_str(), 1);
        clsVantrove v;
        std::exit(v.SystemDSNsToOneDArray().IsEmpty() ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace vantrove::testing

// Arrays into tables and back on real PostgreSQL and MariaDB servers, started
// on loopback by scripts/test-servers.sh as a test fixture.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "support.hpp"

namespace vantrove::testing {
namespace {


class OnServer : public ::testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    env = ServerEnvironment();
    conn = env["VANTROVE_TEST_" + GetParam()];
    if (conn.empty()) GTEST_FAIL() << "the test servers are not running (VANTROVE_DB_ENV)";
    table = "t_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name());
    for (char& c : table) {
      if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
    }
    const std::string real = GetParam() == "PG" ? "DOUBLE PRECISION" : "DOUBLE";
    Exec(conn, {"DROP TABLE IF EXISTS " + table,
                "CREATE TABLE " + table + " (id INTEGER NOT NULL, name VARCHAR(40), qty " + real +
                    " CHECK (qty >= 0), made " + (GetParam() == "PG" ? "TIMESTAMP" : "DATETIME") + ")"});
  }
  void TearDown() override {
    try {
      Exec(conn, {"DROP TABLE IF EXISTS " + table});
    } catch (...) {
    }
  }
  Rows_t Contents() { return Query(conn, "SELECT id, name, qty FROM " + table + " ORDER BY id"); }

  std::map<std::string, std::string> env;
  std::string conn, table;
  clsVantrove v;
};

TEST_P(OnServer, RoundTrip) {
  const Variant data = Array({{int32_t{1}, "Grüße ✓ 日本", 2.5, Variant(DateSerial(2024, 3, 1, 10, 30, 0))},
                              {int32_t{2}, "nut", "3", Variant::Null()}});
  ASSERT_EQ(v.TwoDArrayToDatabaseTable(data, conn, table), 1) << LastDatabaseDiagnostic();
  Variant out{SafeArray()};
  ASSERT_EQ(v.DatabaseTableToArray(conn, "SELECT * FROM " + table + " ORDER BY id", out, "", "", true), 1);
  EXPECT_EQ(Rows(out)[0], (std::vector<std::string>{"id", "name", "qty", "made"}));
  EXPECT_EQ(Rows(out)[1][1], "Grüße ✓ 日本");
  EXPECT_EQ(out.array().at(1, 3).type(), VarType::Date);
  EXPECT_EQ(CDbl(out.array().at(1, 3)), DateSerial(2024, 3, 1, 10, 30, 0).serial);
  EXPECT_TRUE(out.array().at(2, 3).IsNull());
}

TEST_P(OnServer, ConstraintViolationRollsBackWithOverwrite) {
  Exec(conn, {"INSERT INTO " + table + " VALUES (7, 'old', 1, NULL)"});
  // Many rows, the refused one last: earlier batches must be undone too.
  SafeArray a({Bounds{0, 2499}, Bounds{0, 2}});
  for (int32_t r = 0; r < 2500; ++r) {
    a.at(r, 0) = Variant(r);
    a.at(r, 1) = Variant("row " + std::to_string(r));
    a.at(r, 2) = Variant(r == 2499 ? -1.0 : 1.0);
  }
  EXPECT_EQ(v.TwoDArrayToDatabaseTable(Variant(a), conn, table, "", "", true), -5);
  EXPECT_EQ(Contents(), (Rows_t{{"7", "old", "1"}}));
  EXPECT_EQ(v.TwoDArrayToDatabaseTable(Array({{Variant::Null(), "x", 1}}), conn, table), -5);
  EXPECT_EQ(v.TwoDArrayToDatabaseTable(Array({{"seven", "x", 1}}), conn, table), -5);
  EXPECT_EQ(v.TwoDArrayToDatabaseTable(Array({{1, "x", 1, Variant(), 5}}), conn, table), -4);
  EXPECT_EQ(Contents(), (Rows_t{{"7", "old", "1"}}));
  a.at(2499, 2) = Variant(1.0);
  EXPECT_EQ(v.TwoDArrayToDatabaseTable(Variant(a), conn, table, "", "", true), 1) << LastDatabaseDiagnostic();
  EXPECT_EQ(Query(conn, "SELECT COUNT(*) FROM " + table), (Rows_t{{"2500"}}));
}

TEST_P(OnServer, DataSourceNamesWithUserAndPassword) {
  const std::string dsn = GetParam() == "PG" ? "VantrovePg" : "VantroveMaria";
  ASSERT_EQ(v.TwoDArrayToDatabaseTable(Array({{1, "dsn", 1}}), dsn, table, "vantrove", "vantrove-pw"), 1)
      << LastDatabaseDiagnostic();
  EXPECT_EQ(v.TwoDArrayToDatabaseTable(Array({{2, "dsn", 1}}), dsn, table, "vantrove", "wrong"), -2);
  EXPECT_EQ(v.TwoDArrayToDatabaseTable(Array({{2, "dsn", 1}}), dsn, "no_such_table", "vantrove", "vantrove-pw"), -3);
  EXPECT_EQ(Contents(), (Rows_t{{"1", "dsn", "1"}}));
}

TEST_P(OnServer, RecordsetOpenOnTheServer) {
  Exec(conn, {"INSERT INTO " + table + " VALUES (1, 'a', 1, NULL)", "INSERT INTO " + table + " VALUES (2, 'b', 2, NULL)"});
  ObjectRef rs = CreateObject("ADODB.Recordset");
  CallMethod(rs, "Open", {Variant("SELECT id, name FROM " + table + " ORDER BY id"), Variant(conn)});
  Variant out{SafeArray()};
  ASSERT_EQ(v.RecordsetToArray(rs, out), 1);
  EXPECT_EQ(Rows(out), (Rows_t{{"1", "a"}, {"2", "b"}}));
}

// The connection ends in the middle of a write (the server terminates the
// session): the call returns a failure, promptly, and the table keeps none
// of the rows.
TEST_P(OnServer, ConnectionLostMidWriteLeavesTheTableAsBefore) {
  Exec(conn, {"INSERT INTO " + table + " VALUES (7, 'old', 1, NULL)"});
  const int32_t rows = 200000;
  SafeArray a({Bounds{0, rows - 1}, Bounds{0, 2}});
  for (int32_t r = 0; r < rows; ++r) {
    a.at(r, 0) = Variant(r);
    a.at(r, 1) = Variant("row");
    a.at(r, 2) = Variant(1.0);
  }
  std::atomic<bool> done{false};
  std::thread killer([&] {
    const std::string find = GetParam() == "PG"
        ? "SELECT pid FROM pg_stat_activity WHERE usename = 'vantrove' AND pid <> pg_backend_pid() AND "
          "query LIKE 'INSERT INTO " + table + "%'"
        : "SELECT id FROM information_schema.processlist WHERE user = 'vantrove' AND id <> CONNECTION_ID() AND "
          "info LIKE 'INSERT INTO " + table + "%'";
    while (!done) {
      try {
        const Rows_t pids = Query(conn, find);
        if (!pids.empty()) {
          Exec(conn, {GetParam() == "PG" ? "SELECT pg_terminate_backend(" + pids[0][0] + ")" : "KILL " + pids[0][0]});
          return;
        }
      } catch (...) {
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  });
  int16_t result = 0;
  const double took = Seconds([&] { result = v.TwoDArrayToDatabaseTable(Variant(a), conn, table); });
  done = true;
  killer.join();
  if (result == 1) GTEST_SKIP() << "the write finished before the session could be ended (" << took << " s)";
  EXPECT_EQ(result, -5) << LastDatabaseDiagnostic();
  EXPECT_LT(took, 60.0);
  EXPECT_EQ(Contents(), (Rows_t{{"7", "old", "1"}}));
}

INSTANTIATE_TEST_SUITE_P(Servers, OnServer, ::testing::Values("PG", "MARIADB"));

TEST(MySqlRole, WritesThroughTheMariaDbDriver) {
  auto env = ServerEnvironment();
  ASSERT_FALSE(env["VANTROVE_TEST_MARIADB"].empty());
  const std::string conn = env["VANTROVE_TEST_MARIADB"];
  Exec(conn, {"DROP TABLE IF EXISTS t_mysql_role", "CREATE TABLE t_mysql_role (a INTEGER, b VARCHAR(10))",
              "INSERT INTO t_mysql_role VALUES (0, 'old')"});
  clsVantrove v;
  const std::string db = env["VANTROVE_TEST_MARIADB_SERVER"] + "/vantrovedb";
  ASSERT_EQ(v.TwoDArrayToMySQLTable(Array({{1, "x"}, {2, "y"}}), db, "t_mysql_role", "vantrove", "vantrove-pw",
                                    "DELETE FROM t_mysql_role", "UPDATE t_mysql_role SET b = 'z' WHERE a = 2"),
            1)
      << LastDatabaseDiagnostic();
  EXPECT_EQ(Query(conn, "SELECT * FROM t_mysql_role ORDER BY a"), (Rows_t{{"1", "x"}, {"2", "z"}}));
  EXPECT_EQ(v.TwoDArrayToMySQLTable(Array({{1, "x"}}), db, "t_mysql_role", "vantrove", "wrong"), -2);
  Exec(conn, {"DROP TABLE t_mysql_role"});
}

}  // namespace
}  // namespace vantrove::testing

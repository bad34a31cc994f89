// Delimited text files into tables, and query results into text files.
#include <gtest/gtest.h>

#include "support.hpp"

namespace vantrove::testing {
namespace {

class TextFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    db = SqliteDatabase(dir, "parts.db", {"CREATE TABLE parts(id INTEGER NOT NULL, name TEXT, qty REAL)"});
    conn = SqliteConnection(db);
  }
  TempDir dir;
  std::string db, conn;
  clsVantrove v;
};

TEST_F(TextFiles, TextFileIntoTable) {
  const std::string file = dir / "in.csv";
  WriteText(file, "1,\"bolt\",2.5\r\n2,nut,3\r\n");
  ASSERT_EQ(v.TextFileToDatabaseTable(file, conn, "parts", "", "", false, "", true), 1) << LastDatabaseDiagnostic();
  EXPECT_EQ(Query(conn, "SELECT * FROM parts ORDER BY id"), (Rows_t{{"1", "bolt", "2.5"}, {"2", "nut", "3"}}));
  // Overwrite with a semicolon file, quotes kept as they stand.
  WriteText(file, "3;\"washer\";1\n");
  ASSERT_EQ(v.Web_TextFileToDatabaseTable(file, conn, "parts", "", "", true, ";", false), 1);
  EXPECT_EQ(Query(conn, "SELECT * FROM parts"), (Rows_t{{"3", "\"washer\"", "1"}}));
}

TEST_F(TextFiles, TextFileFailuresHaveTheirOwnCodes) {
  const std::string file = dir / "in.csv";
  EXPECT_EQ(v.TextFileToDatabaseTable(dir / "missing.csv", conn, "parts"), -1);
  WriteText(file, "1,a,1\n");
  EXPECT_EQ(v.TextFileToDatabaseTable(file, "Driver=NoSuchDriver;", "parts"), -3);
  EXPECT_EQ(v.TextFileToDatabaseTable(file, conn, "nowhere"), -4);
  WriteText(file, "1,a,1,extra\n");
  EXPECT_EQ(v.TextFileToDatabaseTable(file, conn, "parts"), -5);
  WriteText(file, "1,a,1\n,b,2\n");  // the second row has no id: NOT NULL refuses it... as text "" it is not NULL
  Exec(conn, {"CREATE TABLE strict_parts(id INTEGER NOT NULL CHECK (typeof(id) = 'integer'), name TEXT, qty REAL)"});
  EXPECT_EQ(v.TextFileToDatabaseTable(file, conn, "strict_parts"), -6);
  EXPECT_EQ(Query(conn, "SELECT COUNT(*) FROM strict_parts"), (Rows_t{{"0"}}));
}

TEST_F(TextFiles, QueryResultIntoTextFile) {
  Exec(conn, {"INSERT INTO parts VALUES (1, 'bolt', 2.5)", "INSERT INTO parts VALUES (2, NULL, 3)"});
  const std::string out = dir / "out.txt";
  ASSERT_EQ(v.DatabaseTableToTextFile(conn, "SELECT * FROM parts ORDER BY id", out, "", "", true, "|", true), 1);
  EXPECT_EQ(ReadText(out), "\"id\"|\"name\"|\"qty\"\r\n\"1\"|\"bolt\"|\"2.5\"\r\n\"2\"|\"\"|\"3\"\r\n");
  ASSERT_EQ(v.DatabaseTableToTextFile(conn, "SELECT id FROM parts ORDER BY id", out, "", "", false, ",", false), 1);
  EXPECT_EQ(ReadText(out), "1\r\n2\r\n");
  // Failures keep the old file.
  EXPECT_EQ(v.DatabaseTableToTextFile("Driver=NoSuchDriver;", "SELECT 1", out), -1);
  EXPECT_EQ(v.DatabaseTableToTextFile(conn, "SELECT * FROM nowhere", out), -2);
  EXPECT_EQ(v.DatabaseTableToTextFile(conn, "SELECT 1", dir / "no/such/folder/out.txt"), -3);
  EXPECT_EQ(ReadText(out), "1\r\n2\r\n");
  std::vector<Variant> args = {Variant(conn), Variant("SELECT name FROM parts WHERE id = 1"), Variant(out)};
  EXPECT_EQ(CLng(v.Invoke("Web_DatabaseTableToTextFile", args).value), 1);
  EXPECT_EQ(ReadText(out), "bolt\r\n");
}

}  // namespace
}  // namespace vantrove::testing

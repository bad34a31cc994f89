// Recordsets opened on a database as ADO users open them, recordsets to
// arrays and text files, arrays into recordsets, and recordsets fabricated
// from arrays.
#include <gtest/gtest.h>

#include "support.hpp"
#include "vantrove/recordset.hpp"

namespace vantrove::testing {
namespace {

class Recordsets : public ::testing::Test {
 protected:
  void SetUp() override {
    db = SqliteDatabase(dir, "parts.db",
                        {"CREATE TABLE parts(id INTEGER, name VARCHAR(20))", "INSERT INTO parts VALUES (1, 'bolt')",
                         "INSERT INTO parts VALUES (2, 'nut')", "INSERT INTO parts VALUES (3, NULL)"});
    conn = SqliteConnection(db);
  }
  // As a script does it: CreateObject, then Open with SQL and a connection.
  ObjectRef OpenParts(const std::string& sql = "SELECT * FROM parts ORDER BY id") {
    ObjectRef rs = CreateObject("ADODB.Recordset");
    CallMethod(rs, "Open", {Variant(sql), Variant(conn)});
    return rs;
  }
  TempDir dir;
  std::string db, conn;
  clsVantrove v;
};

TEST_F(Recordsets, OpenOnADatabaseReadsTheWholeResult) {
  ObjectRef rs = OpenParts();
  EXPECT_EQ(CLng(GetProperty(rs, "RecordCount")), 3);
  const ObjectRef fields = GetProperty(rs, "Fields").object();
  EXPECT_EQ(CLng(GetProperty(fields, "Count")), 2);
  EXPECT_EQ(CStr(GetProperty(GetProperty(fields, "Item", {Variant(int32_t{1})}).object(), "Name")), "name");
  EXPECT_EQ(CLng(GetProperty(GetProperty(fields, "Item", {Variant(int32_t{0})}).object(), "Type")), adtype::kInteger);
  SetProperty(rs, "Filter", Variant("name LIKE 'n*'"));
  EXPECT_EQ(CLng(GetProperty(rs, "RecordCount")), 1);
  // A table name as the source, and a data source name as the connection.
  ObjectRef byName = CreateObject("ADODB.Recordset");
  Exec("DSN=TestSystemSqlite;", {"CREATE TABLE IF NOT EXISTS dsn_table(a TEXT)", "DELETE FROM dsn_table",
                                 "INSERT INTO dsn_table VALUES ('from a DSN')"});
  CallMethod(byName, "Open", {Variant("dsn_table"), Variant("TestSystemSqlite")});
  EXPECT_EQ(CStr(GetProperty(byName, "Collect", {Variant(int32_t{0})})), "from a DSN");
  // A connection that fails, a statement that fails.
  ObjectRef bad = CreateObject("ADODB.Recordset");
  EXPECT_THROW(CallMethod(bad, "Open", {Variant("SELECT 1"), Variant("Driver=NoSuchDriver;")}), RuntimeError);
  EXPECT_THROW(CallMethod(bad, "Open", {Variant("SELECT * FROM nowhere"), Variant(conn)}), RuntimeError);
  EXPECT_EQ(CLng(GetProperty(bad, "State")), kStateClosed);
}

TEST_F(Recordsets, RecordsetToArrayLeavesTheCursorOnTheFirstRecord) {
  ObjectRef rs = OpenParts();
  CallMethod(rs, "MoveLast");
  Variant out{SafeArray()};
  ASSERT_EQ(v.RecordsetToArray(rs, out, true), 1);
  EXPECT_EQ(Rows(out), (Rows_t{{"id", "name"}, {"1", "bolt"}, {"2", "nut"}, {"3", "NULL"}}));
  EXPECT_EQ(CLng(GetProperty(rs, "AbsolutePosition")), 1);
  std::vector<Variant> args = {Variant(rs), Variant(SafeArray())};
  EXPECT_EQ(CLng(v.Invoke("Web_RecordsetToArray", args).value), 1);
  EXPECT_EQ(Rows(args[1]).size(), 3u);
}

TEST_F(Recordsets, RecordsetToArrayNeedsAnArray) {
  ObjectRef rs = OpenParts();
  CallMethod(rs, "MoveNext");
  Variant uninitialised;
  EXPECT_EQ(v.RecordsetToArray(rs, uninitialised), -1);
  EXPECT_EQ(CLng(GetProperty(rs, "AbsolutePosition")), 2);  // not moved
  Variant out{SafeArray()};
  ObjectRef empty = OpenParts("SELECT * FROM parts WHERE id > 99");
  ASSERT_EQ(v.RecordsetToArray(empty, out, true), 1);
  EXPECT_EQ(Rows(out), (Rows_t{{"id", "name"}}));
  EXPECT_EQ(v.RecordsetToArray(nullptr, out), -2);
}

TEST_F(Recordsets, RecordsetToTextFile) {
  ObjectRef rs = OpenParts();
  const std::string out = dir / "rs.txt";
  ASSERT_EQ(v.RecordsetToTextFile(rs, out, true, ";", true), 1);
  EXPECT_EQ(ReadText(out), "\"id\";\"name\"\r\n\"1\";\"bolt\"\r\n\"2\";\"nut\"\r\n\"3\";\"\"\r\n");
  EXPECT_EQ(v.RecordsetToTextFile(rs, dir / "no/folder/rs.txt"), -1);
  EXPECT_EQ(v.RecordsetToTextFile(nullptr, out), -1);
  EXPECT_EQ(ReadText(out).substr(0, 4), "\"id\"");
}

TEST_F(Recordsets, ArrayIntoRecordsetCountsRowsAndKeepsThemOnError) {
  RecordsetRef rs = Recordset::Create();
  rs->AppendField("Part", adtype::kVarChar, 10);
  rs->AppendField("Qty", adtype::kInteger);
  rs->Open();
  EXPECT_EQ(v.TwoDArrayToRecordset(Array({{"bolt", 4}, {"nut", "6"}}), rs), 2);
  EXPECT_EQ(rs->RecordCount(), 2);
  // The second row's quantity is no number: the first row stays.
  EXPECT_EQ(v.TwoDArrayToRecordset(Array({{"washer", 1}, {"pin", "many"}}), rs), -2);
  EXPECT_GE(rs->RecordCount(), 3);
  EXPECT_EQ(v.TwoDArrayToRecordset(Variant("x"), rs), -1);
  // More columns than fields is the recordset's error.
  RecordsetRef one = Recordset::Create();
  one->AppendField("A", adtype::kVarChar, 5);
  one->Open();
  EXPECT_EQ(v.TwoDArrayToRecordset(Array({{"a", "b"}}), one), -2);
}

TEST_F(Recordsets, RecordsetFromArray) {
  const std::string forty(40, 'x');
  const Variant data = Array({{"Part", "Note"}, {"bolt", forty}, {"nut", Variant::Null()}, {"washer", "ok"}});
  ObjectRef made = v.CreateRecordsetFromArray(data, " Part <> 'nut' ");
  ASSERT_TRUE(made);
  auto* rs = dynamic_cast<Recordset*>(made.get());
  ASSERT_NE(rs, nullptr);
  EXPECT_EQ(rs->FieldType(0), adtype::kVarChar);
  EXPECT_EQ(rs->FieldDefinedSize(0), 6);
  EXPECT_EQ(rs->FieldDefinedSize(1), 40);
  EXPECT_EQ(rs->RecordCount(), 2);  // filtered
  EXPECT_EQ(CStr(rs->Value(0)), "bolt");
  // Only the heading row: fields of size 1, no records.
  ObjectRef bare = v.CreateRecordsetFromArray(Array({{"A", "B"}}));
  auto* b = dynamic_cast<Recordset*>(bare.get());
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(b->RecordCount(), 0);
  EXPECT_EQ(b->FieldDefinedSize(1), 1);
  EXPECT_FALSE(v.CreateRecordsetFromArray(Variant("no array")));
  std::vector<Variant> args = {data};
  const InvokeResult r = v.Invoke("CreateRecordsetFromArray", args);
  ASSERT_TRUE(r.value.IsObject());
  EXPECT_EQ(CLng(GetProperty(r.value.object(), "RecordCount")), 3);
}

}  // namespace
}  // namespace vantrove::testing

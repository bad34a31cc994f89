// The database jobs of the command-line tool: extract into a table (made
// when missing, appended to afterwards) and a query back out.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>

#include "support.hpp"

namespace vantrove::testing {
namespace {

struct Result {
  int status = -1;
  std::string out;  // stdout and stderr together
};

Result Tool(const std::string& args) {
  const std::string redirect = args.find(" < ") == std::string::npos ? " </dev/null" : "";
  const std::string cmd = std::string("'") + VANTROVE_CLI + "' " + args + " 2>&1" + redirect;
  Result r;
  FILE* p = popen(cmd.c_str(), "r");
  std::array<char, 4096> buf{};
  size_t n;
  while (p && (n = fread(buf.data(), 1, buf.size(), p)) > 0) r.out.append(buf.data(), n);
  const int st = p ? pclose(p) : -1;
  r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
  return r;
}

const std::string kSample = std::string(VANTROVE_SOURCE_DIR) + "/samples/title-blocks.dxf";

TEST(DatabaseJobs, ExtractIntoATableThenQueryItBack) {
  TempDir dir;
  const std::string conn = "\"Driver=SQLite3;Database=" + (dir / "titles.db") + ";\"";
  Result r = Tool("extract '" + kSample + "' --block TITLE --db " + conn + " --table titles");
  ASSERT_EQ(r.status, 0) << r.out;
  EXPECT_NE(r.out.find("3 rows written into the new table titles"), std::string::npos) << r.out;
  r = Tool("extract '" + kSample + "' --block TITLE --db " + conn + " --table titles");
  ASSERT_EQ(r.status, 0) << r.out;
  EXPECT_NE(r.out.find("3 rows written into titles"), std::string::npos) << r.out;

  r = Tool("sql " + conn + " \"SELECT DWGNO, DRAWN FROM titles WHERE DWGNO = 'A-201'\" -o '" + (dir / "out.csv") + "'");
  ASSERT_EQ(r.status, 0) << r.out;
  EXPECT_EQ(ReadText(dir.path() / "out.csv"), "DWGNO,DRAWN\r\nA-201,K. Müller\r\nA-201,K. Müller\r\n");
  r = Tool("sql " + conn + " \"SELECT COUNT(*) AS n FROM titles\" -o '" + (dir / "out.html") + "'");
  ASSERT_EQ(r.status, 0) << r.out;
  EXPECT_NE(ReadText(dir.path() / "out.html").find("<TD>6</TD>"), std::string::npos);
}

// What an ADO user does, through the rpc protocol: create a recordset, open
// it on a query, and copy it into an array.
TEST(DatabaseJobs, RecordsetThroughRpc) {
  TempDir dir;
  const std::string db = SqliteDatabase(dir, "r.db", {"CREATE TABLE t(a INTEGER, b TEXT)", "INSERT INTO t VALUES (1, 'x')"});
  WriteText(dir.path() / "in.jsonl",
            "{\"id\":1,\"method\":\"$create\",\"params\":[\"ADODB.Recordset\"]}\n"
            "{\"id\":2,\"method\":\"$call\",\"params\":[{\"object\":1},\"Open\",\"SELECT * FROM t\",\"" +
                SqliteConnection(db) + "\"]}\n"
            "{\"id\":3,\"method\":\"RecordsetToArray\",\"params\":[{\"object\":1},[],true]}\n");
  const Result r = Tool("rpc < '" + (dir / "in.jsonl") + "'");
  EXPECT_NE(r.out.find("\"object\":1},[[\"a\",\"b\"],[1,\"x\"]],true],\"result\":1"),
            std::string::npos)
      << r.out;
}

TEST(DatabaseJobs, FailuresSayWhy) {
  TempDir dir;
  Result r = Tool("sql NoSuchDsn \"SELECT 1\"");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("Data source name not found"), std::string::npos) << r.out;
  r = Tool("sql \"Driver=SQLite3;Database=" + (dir / "x.db") + ";\" \"SELECT * FROM nowhere\"");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("nowhere"), std::string::npos) << r.out;
  r = Tool("extract '" + kSample + "' --block TITLE --db \"Driver=NoSuchDriver;\" --table t");
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("NoSuchDriver"), std::string::npos) << r.out;
  r = Tool("extract '" + kSample + "' --block TITLE --db \"Driver=SQLite3;Database=" + (dir / "x.db") + ";\"");
  EXPECT_EQ(r.status, 2) << r.out;
}

}  // namespace
}  // namespace vantrove::testing

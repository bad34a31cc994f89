// Database benchmark: ROWS x 10 columns (4 integers, 3 reals, 3 texts)
// written with TwoDArrayToDatabaseTable and read back with
// DatabaseTableToArray, on SQLite, PostgreSQL and MariaDB, against each
// database's own fast path measured in the same run:
//   SQLite      Python's sqlite3 executemany + commit
//   PostgreSQL  psql's \copy of the same rows as CSV
//   MariaDB     LOAD DATA LOCAL INFILE of the same CSV
//   reading     a bare ODBC loop (SQLFetch + SQLGetData into C buffers)
// Best of three runs each. The servers are the private test servers
// (scripts/test-servers.sh), started here unless VANTROVE_DB_ENV names a
// running pair.
//
//   db_bench [ROWS]
#include <sql.h>
#include <sqlext.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>

#include "vantrove/component.hpp"

namespace fs = std::filesystem;
using namespace vantrove;

namespace {

constexpr int kRuns = 3;
const char* kColumns = "(i0 INTEGER, i1 INTEGER, i2 INTEGER, i3 INTEGER, r0 %s, r1 %s, r2 %s, "
                       "s0 VARCHAR(40), s1 VARCHAR(40), s2 VARCHAR(40))";

double Seconds(const std::function<void()>& fn) {
  const auto t0 = std::chrono::steady_clock::now();
  fn();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

double Best(const std::function<void()>& setup, const std::function<void()>& fn) {
  double best = 1e300;
  for (int i = 0; i < kRuns; ++i) {
    setup();
    best = std::min(best, Seconds(fn));
  }
  return best;
}

// Runs SQL through a bare ODBC connection.
void Exec(const std::string& conn, const std::string& sql) {
  SQLHENV env;
  SQLHDBC dbc;
  SQLHSTMT st;
  SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
  SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
  SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc);
  SQLDriverConnect(dbc, nullptr, (SQLCHAR*)conn.c_str(), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
  SQLAllocHandle(SQL_HANDLE_STMT, dbc, &st);
  const SQLRETURN rc = SQLExecDirect(st, (SQLCHAR*)sql.c_str(), SQL_NTS);
  if (rc != SQL_SUCCESS && rc != SQL_SUCCESS_WITH_INFO && rc != SQL_NO_DATA) {
    std::fprintf(stderr, "db_bench: failed: %s\n", sql.c_str());
  }
  SQLFreeHandle(SQL_HANDLE_STMT, st);
  SQLDisconnect(dbc);
  SQLFreeHandle(SQL_HANDLE_DBC, dbc);
  SQLFreeHandle(SQL_HANDLE_ENV, env);
}

// The peer of the reading side: the driver's own fetch loop, values into C
// buffers (integers, doubles, text), no conversion beyond the driver's.
size_t FetchLoop(const std::string& conn, const std::string& sql) {
  SQLHENV env;
  SQLHDBC dbc;
  SQLHSTMT st;
  SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env);
  SQLSetEnvAttr(env, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
  SQLAllocHandle(SQL_HANDLE_DBC, env, &dbc);
  SQLDriverConnect(dbc, nullptr, (SQLCHAR*)conn.c_str(), SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
  SQLAllocHandle(SQL_HANDLE_STMT, dbc, &st);
  SQLExecDirect(st, (SQLCHAR*)sql.c_str(), SQL_NTS);
  size_t rows = 0, bytes = 0;
  SQLBIGINT i = 0;
  double d = 0;
  char text[256];
  SQLLEN ind = 0;
  while (SQLFetch(st) == SQL_SUCCESS) {
    for (SQLUSMALLINT c = 1; c <= 4; ++c) SQLGetData(st, c, SQL_C_SBIGINT, &i, 0, &ind);
    for (SQLUSMALLINT c = 5; c <= 7; ++c) SQLGetData(st, c, SQL_C_DOUBLE, &d, 0, &ind);
    for (SQLUSMALLINT c = 8; c <= 10; ++c) {
      SQLGetData(st, c, SQL_C_CHAR, text, sizeof text, &ind);
      bytes += ind > 0 ? static_cast<size_t>(ind) : 0;
    }
    ++rows;
  }
  SQLFreeHandle(SQL_HANDLE_STMT, st);
  SQLDisconnect(dbc);
  SQLFreeHandle(SQL_HANDLE_DBC, dbc);
  SQLFreeHandle(SQL_HANDLE_ENV, env);
  return bytes > 0 ? rows : 0;
}

std::map<std::string, std::string> ReadEnv(const std::string& file) {
  std::map<std::string, std::string> env;
  std::ifstream in(file);
  std::string line;
  while (std::getline(in, line)) {
    const size_t eq = line.find('=');
    if (eq == std::string::npos) continue;
    std::string v = line.substr(eq + 1);
    if (v.size() >= 2 && v.front() == '\'' && v.back() == '\'') v = v.substr(1, v.size() - 2);
    env[line.substr(0, eq)] = v;
  }
  return env;
}

std::string Run(const std::string& cmd) {
  std::string out;
  FILE* p = popen(cmd.c_str(), "r");
  char buf[512];
  while (p && fgets(buf, sizeof buf, p)) out += buf;
  if (p) pclose(p);
  return out;
}

struct Figures {
  double write = 0, peerWrite = 0, read = 0, peerRead = 0;
};

void Report(const char* name, const Figures& f, const char* peer, double writeGoal) {
  std::printf("%-11s write %7.3f s   %-22s %7.3f s   ratio %5.2fx (goal <= %.1fx)\n", name, f.write, peer,
              f.peerWrite, f.write / f.peerWrite, writeGoal);
  std::printf("%-11s read  %7.3f s   %-22s %7.3f s   ratio %5.2fx (goal <= 2.0x)\n", name, f.read,
              "bare ODBC fetch loop", f.peerRead, f.read / f.peerRead);
}

// Our write and read of `table` on `conn`; `reset` empties the table.
void Measure(clsVantrove& v, const Variant& data, const std::string& conn, const std::string& table, Figures& f,
             size_t rows) {
  const std::function<void()> reset = [&] { Exec(conn, "DELETE FROM " + table); };
  f.write = Best(reset, [&] {
    if (v.TwoDArrayToDatabaseTable(data, conn, table) != 1) {
      std::fprintf(stderr, "db_bench: the write failed: %s\n", LastDatabaseDiagnostic().c_str());
    }
  });
  const std::string sql = "SELECT * FROM " + table;
  f.read = Best([] {}, [&] {
    Variant out{SafeArray()};
    if (v.DatabaseTableToArray(conn, sql, out) != 1 || static_cast<size_t>(out.array().UBound(1) + 1) != rows) {
      std::fprintf(stderr, "db_bench: the read failed: %s\n", LastDatabaseDiagnostic().c_str());
    }
  });
  f.peerRead = Best([] {}, [&] { FetchLoop(conn, sql); });
}

}  // namespace

int main(int argc, char** argv) {
  const int32_t rows = argc > 1 ? std::atoi(argv[1]) : 100000;
  const fs::path dir = fs::temp_directory_path() / ("vantrove-db-bench-" + std::to_string(::getpid()));
  fs::create_directories(dir);

  // The servers, and with them the ODBC configuration.
  std::string envFile = std::getenv("VANTROVE_DB_ENV") ? std::getenv("VANTROVE_DB_ENV") : "";
  bool started = false;
  if (envFile.empty()) {
    std::printf("starting the test servers...\n");
    started = std::system((std::string("'") + VANTROVE_TEST_SERVERS + "' start '" + VANTROVE_BENCH_SERVERS +
                           "' >/dev/null").c_str()) == 0;
    envFile = std::string(VANTROVE_BENCH_SERVERS) + "/env";
    if (!started) std::printf("the test servers did not start: PostgreSQL and MariaDB are left out\n");
  }
  auto env = ReadEnv(envFile);
  if (env.count("ODBCSYSINI")) {
    ::setenv("ODBCSYSINI", env["ODBCSYSINI"].c_str(), 1);
    ::setenv("ODBCINI", env["ODBCINI"].c_str(), 1);
  } else {
    std::ofstream(dir / "odbcinst.ini") << "[SQLite3]\nDriver=libsqlite3odbc.so\n";
    ::setenv("ODBCSYSINI", dir.c_str(), 1);
  }

  // The data, as an array and as CSV for the peers.
  SafeArray a({Bounds{0, rows - 1}, Bounds{0, 9}});
  std::string csv;
  for (int32_t r = 0; r < rows; ++r) {
    const int32_t ints[4] = {r, r * 7 % 1000, -r, r % 13};
    const double reals[3] = {r * 0.5, r / 3.0, 1e6 - r * 1.25};
    const std::string texts[3] = {"part-" + std::to_string(r), "Grundriss " + std::to_string(r % 97),
                                  "layer " + std::to_string(r % 11)};
    for (int c = 0; c < 4; ++c) a.at(r, c) = Variant(ints[c]);
    for (int c = 0; c < 3; ++c) a.at(r, 4 + c) = Variant(reals[c]);
    for (int c = 0; c < 3; ++c) a.at(r, 7 + c) = Variant(texts[c]);
    char line[256];
    std::snprintf(line, sizeof line, "%d,%d,%d,%d,%.17g,%.17g,%.17g,%s,%s,%s\n", ints[0], ints[1], ints[2], ints[3],
                  reals[0], reals[1], reals[2], texts[0].c_str(), texts[1].c_str(), texts[2].c_str());
    csv += line;
  }
  const Variant data(std::move(a));
  const std::string csvPath = (dir / "rows.csv").string();
  std::ofstream(csvPath, std::ios::binary) << csv;
  std::printf("%d rows x 10 columns (4 integers, 3 reals, 3 texts), best of %d runs\n\n", rows, kRuns);

  clsVantrove v;
  char ddl[512];
  // SQLite.
  {
    const std::string db = (dir / "bench.db").string();
    const std::string conn = "Driver=SQLite3;Database=" + db + ";" + (std::getenv("STEP") ? std::getenv("STEP") : "");
    std::snprintf(ddl, sizeof ddl, kColumns, "DOUBLE", "DOUBLE", "DOUBLE");
    Exec(conn, std::string("CREATE TABLE t_bench ") + ddl);
    Figures f;
    Measure(v, data, conn, "t_bench", f, static_cast<size_t>(rows));
    f.peerWrite = std::atof(Run(std::string("/usr/bin/python3 '") + VANTROVE_SQLITE_PEER + "' '" + db + "' '" +
                                csvPath + "' " + std::to_string(kRuns)).c_str());
    Report("SQLite", f, "sqlite3 executemany", 1.5);
  }
  if (!env["VANTROVE_TEST_PG"].empty()) {
    const std::string conn = env["VANTROVE_TEST_PG"];
    std::snprintf(ddl, sizeof ddl, kColumns, "DOUBLE PRECISION", "DOUBLE PRECISION", "DOUBLE PRECISION");
    Exec(conn, "DROP TABLE IF EXISTS t_bench");
    Exec(conn, std::string("CREATE TABLE t_bench ") + ddl);
    Figures f;
    Measure(v, data, conn, "t_bench", f, static_cast<size_t>(rows));
    const std::string psql = "PGPASSWORD=vantrove-pw psql -q -h 127.0.0.1 -p " + env["VANTROVE_TEST_PG_PORT"] +
                             " -U vantrove vantrovedb -c \"\\copy t_bench FROM '" + csvPath + "' CSV\"";
    f.peerWrite = Best([&] { Exec(conn, "DELETE FROM t_bench"); }, [&] { Run(psql); });
    Report("PostgreSQL", f, "psql \\copy (CSV)", 2.0);
  }
  if (!env["VANTROVE_TEST_MARIADB"].empty()) {
    const std::string conn = env["VANTROVE_TEST_MARIADB"];
    std::snprintf(ddl, sizeof ddl, kColumns, "DOUBLE", "DOUBLE", "DOUBLE");
    Exec(conn, "DROP TABLE IF EXISTS t_bench");
    Exec(conn, std::string("CREATE TABLE t_bench ") + ddl);
    Figures f;
    Measure(v, data, conn, "t_bench", f, static_cast<size_t>(rows));
    const std::string load = "mariadb --no-defaults --local-infile=1 -h 127.0.0.1 -P " +
                             env["VANTROVE_TEST_MARIADB_PORT"] + " -u vantrove -pvantrove-pw vantrovedb -e \"" +
                             "LOAD DATA LOCAL INFILE '" + csvPath + "' INTO TABLE t_bench FIELDS TERMINATED BY ','\"";
    f.peerWrite = Best([&] { Exec(conn, "DELETE FROM t_bench"); }, [&] { Run(load); });
    Report("MariaDB", f, "LOAD DATA LOCAL INFILE", 2.0);
  }
  if (started) {
    std::system((std::string("'") + VANTROVE_TEST_SERVERS + "' stop '" + VANTROVE_BENCH_SERVERS + "' >/dev/null")
                    .c_str());
  }
  std::error_code ec;
  fs::remove_all(dir, ec);
  return 0;
}

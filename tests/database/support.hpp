#pragma once
// Shared helpers for the database tests: a private folder per test process
// with a private ODBC configuration (drivers, a system and a user data
// source), SQL run straight through the ODBC layer, tables read back as rows
// of text, and the description of the test servers.
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "../../src/database/odbc.hpp"
#include "vantrove/component.hpp"
#include "vantrove/runtime.hpp"

namespace vantrove::testing {

namespace fs = std::filesystem;

inline std::string ReadText(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}
inline void WriteText(const fs::path& path, std::string_view text) { std::ofstream(path, std::ios::binary) << text; }

// The process's own folder; the private ODBC configuration lives in it.
// Created by the test environment (environment.cpp) before any ODBC call.
const fs::path& ProcessFolder();

// A fresh folder inside the process folder, for one test.
class TempDir {
 public:
  TempDir() : path_(ProcessFolder() / "t") {
    path_ += std::to_string(counter_++);
    fs::create_directories(path_);
  }
  ~TempDir() {
    std::error_code error;
    fs::remove_all(path_, error);
  }
  const fs::path& path() const { return path_; }
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }

 private:
  static inline int counter_ = 0;
  fs::path path_;
};

// Runs statements through the ODBC layer (autocommit), raising on failure.
inline void Exec(const std::string& connection, std::initializer_list<std::string> statements) {
  database::Environment env;
  database::Connection c(env);
  c.Open(connection);
  for (const std::string& sql : statements) {
    database::Statement st(c);
    st.Execute(sql);
  }
}

// A query's rows as text ("NULL" for Null), ordered as the query orders them.
inline std::vector<std::vector<std::string>> Query(const std::string& connection, const std::string& sql) {
  database::Environment env;
  database::Connection c(env);
  c.Open(connection);
  database::Statement st(c);
  st.Execute(sql);
  const auto cols = st.Columns();
  std::vector<std::vector<std::string>> rows;
  while (st.Fetch()) {
    std::vector<std::string> row;
    for (size_t i = 0; i < cols.size(); ++i) {
      const Variant v = st.Get(static_cast<int>(i + 1), cols[i].sqlType);
      row.push_back(v.IsNull() ? "NULL" : CStr(v));
    }
    rows.push_back(std::move(row));
  }
  return rows;
}

// A two-dimensional array as rows of text ("NULL" for Null, "" for Empty).
inline std::vector<std::vector<std::string>> Rows(const Variant& v) {
  std::vector<std::vector<std::string>> rows;
  if (!v.IsArray() || !v.array().allocated()) return rows;
  const SafeArray& a = v.array();
  for (int32_t r = a.LBound(1); r <= a.UBound(1); ++r) {
    std::vector<std::string> row;
    for (int32_t c = a.LBound(2); c <= a.UBound(2); ++c) {
      const Variant& cell = a.at(r, c);
      row.push_back(cell.IsNull() ? "NULL" : CStr(cell));
    }
    rows.push_back(std::move(row));
  }
  return rows;
}
using Rows_t = std::vector<std::vector<std::string>>;

inline Variant Array(std::initializer_list<std::initializer_list<Variant>> rows) {
  return Variant(SafeArray::FromRows(rows));
}

// A new SQLite database file holding the tables `ddl` creates.
inline std::string SqliteDatabase(const TempDir& dir, const std::string& name, std::initializer_list<std::string> ddl) {
  const std::string path = dir / name;
  Exec("Driver=SQLite3;Database=" + path + ";", ddl);
  return path;
}
inline std::string SqliteConnection(const std::string& path) { return "Driver=SQLite3;Database=" + path + ";"; }

// The test servers' description (scripts/test-servers.sh), read from the
// file that VANTROVE_DB_ENV names; empty when the servers are not running.
inline std::map<std::string, std::string> ServerEnvironment() {
  std::map<std::string, std::string> env;
  const char* file = std::getenv("VANTROVE_DB_ENV");
  if (!file) return env;
  std::ifstream in(file);
  std::string line;
  while (std::getline(in, line)) {
    const size_t eq = line.find('=');
    if (eq == std::string::npos) continue;
    std::string value = line.substr(eq + 1);
    if (value.size() >= 2 && value.front() == '\'' && value.back() == '\'') value = value.substr(1, value.size() - 2);
    env[line.substr(0, eq)] = value;
  }
  return env;
}

// Seconds that `body` took.
template <class F>
double Seconds(F&& body) {
  const auto start = std::chrono::steady_clock::now();
  body();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// A TCP port on 127.0.0.1 where nothing listens.
int ClosedPort();

}  // namespace vantrove::testing

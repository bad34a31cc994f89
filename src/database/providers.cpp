// Provider connection strings and their ODBC translation.
#include "providers.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>

#include "vantrove/runtime.hpp"

namespace vantrove::database {

std::string AccessConnectionString(const std::string& mdb, const std::string& password) {
  // The data-access library here reports version 2.8, so the 4.0 engine is named.
  const std::string engineVersion = "4.0";
  return "Provider=Microsoft.Jet.OLEDB." + engineVersion + ";Data Source=" + mdb +
         ";Jet OLEDB:Database Password=" + password + ";";
}

std::string VisualFoxproConnectionString(const std::string& db) {
  return "Provider=vfpoledb;Data Source=" + db + ";Mode=ReadWrite|Share Deny None;" +
         "Collating Sequence=MACHINE;Password=''";
}

std::string SqlServerConnectionString(const std::string& server, const std::string& database, bool trusted,
                                      const std::string& user, const std::string& password) {
  if (trusted) return "Provider=SQLOLEDB;Data Source=" + server + ";Initial Catalog=" + database + ";Integrated Security=SSPI;";
  return "Provider=SQLOLEDB;Data Source=" + server + ";Initial Catalog=" + database + ";User ID=" + user +
         ";Password=" + password + ";";
}

std::string SybaseConnectionString(const std::string& server, const std::string& database, const std::string& user,
                                   const std::string& password) {
  return "Provider=Sybase.ASEOLEDBProvider;Data Source=" + server + ",5000;Catalog=" + database + ";User ID=" + user +
         ";Password=" + password + ";";
}

std::string MySqlConnectionString(const std::string& db, const std::string& user, const std::string& password) {
  return "Provider=MySQLProv;Data Source=" + db + ";User Id=" + user + ";Password=" + password + ";";
}

std::string OracleConnectionString(int32_t provider, const std::string& db, bool trusted, const std::string& user,
                                   const std::string& password) {
  const std::string p = provider == 1 ? "OraOLEDB.Oracle" : "MSDAORA";
  if (trusted) return "Provider=" + p + ";Data Source=" + db + ";OSAuthent=1;";
  return "Provider=" + p + ";Data Source=" + db + ";User Id=" + user + ";Password=" + password + ";";
}

std::string DsnOrConnectionString(const std::string& dsnOrConn, const std::string& user, const std::string& password) {
  if (dsnOrConn.find(';') != std::string::npos) return dsnOrConn;
  return "DSN=" + dsnOrConn + ";UID=" + user + ";PWD=" + password + ";";
}

std::vector<std::pair<std::string, std::string>> SplitConnectionString(std::string_view text) {
  std::vector<std::pair<std::string, std::string>> out;
  size_t i = 0;
  while (i < text.size()) {
    const size_t eq = text.find('=', i);
    const size_t semi = text.find(';', i);
    if (eq == std::string_view::npos || (semi != std::string_view::npos && semi < eq)) {
      // A piece without "=": skipped (an empty piece between ";;" too).
      if (semi == std::string_view::npos) break;
      i = semi + 1;
      continue;
    }
    std::string key = Trim(std::string(text.substr(i, eq - i)));
    size_t v = eq + 1;
    std::string value;
    if (v < text.size() && text[v] == '{') {
      const size_t close = text.find('}', v);
      value = std::string(text.substr(v, close == std::string_view::npos ? std::string_view::npos : close + 1 - v));
      v = close == std::string_view::npos ? text.size() : close + 1;
      const size_t end = text.find(';', v);
      i = end == std::string_view::npos ? text.size() : end + 1;
    } else {
      const size_t end = text.find(';', v);
      value = std::string(text.substr(v, end == std::string_view::npos ? std::string_view::npos : end - v));
      i = end == std::string_view::npos ? text.size() : end + 1;
    }
    out.emplace_back(std::move(key), std::move(value));
  }
  return out;
}

namespace {

std::string Lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return s;
}

std::string Value(const std::vector<std::pair<std::string, std::string>>& pairs, std::string_view key) {
  for (const auto& [k, v] : pairs) {
    if (Lower(k) == Lower(std::string(key))) return v;
  }
  return {};
}

bool HasKey(const std::vector<std::pair<std::string, std::string>>& pairs, std::string_view key) {
  for (const auto& [k, v] : pairs) {
    if (Lower(k) == Lower(std::string(key))) return true;
  }
  return false;
}

// The registered driver that plays a role: the first of `names` the driver
// manager knows, else the driver library itself by path when it is present.
std::string DriverFor(const std::vector<std::string>& drivers, std::initializer_list<const char*> names,
                      const char* library) {
  for (const char* n : names) {
    for (const std::string& d : drivers) {
      if (Lower(d) == Lower(n)) return d;
    }
  }
  for (const char* dir : {"/usr/lib/x86_64-linux-gnu/odbc/", "/usr/lib/aarch64-linux-gnu/odbc/", "/usr/lib/odbc/"}) {
    const std::string path = std::string(dir) + library;
    struct stat st {};
    if (::stat(path.c_str(), &st) == 0) return path;
  }
  return *names.begin();
}

// The file signature of a Jet or ACE database: "Standard Jet DB" or
// "Standard ACE DB" at byte 4.
bool IsJetFile(const std::string& path) {
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) return false;
  char head[20] = {};
  const size_t got = std::fread(head, 1, sizeof head, f);
  std::fclose(f);
  if (got < 19) return false;
  const std::string_view sig(head + 4, 15);
  return sig == "Standard Jet DB" || sig == "Standard ACE DB";
}

Translation FileDatabase(const std::string& role, const std::string& path, const std::vector<std::string>& drivers,
                         bool exclusive) {
  Translation t;
  struct stat st {};
  if (path.empty() || ::stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) {
    t.refusal = "The " + role + " database \"" + path + "\" does not exist (file databases are not created by a " +
                "connection; create it, for example with sqlite3, and its table first)";
    return t;
  }
  if (IsJetFile(path)) {
    t.refusal = "\"" + path + "\" is a Jet/ACE (.mdb/.accdb) file: no driver on this system writes one (MDBTools " +
                "reads only). Use an SQLite database file in its place";
    return t;
  }
  t.odbc = "Driver=" + DriverFor(drivers, {"SQLite3"}, "libsqlite3odbc.so") + ";Database=" + path + ";Timeout=10000;";
  t.exclusive = exclusive;
  t.dbmsFile = path;
  return t;
}

// "host,port" (SQL Server's form) or "host:port" into host and port.
void SplitServer(const std::string& server, std::string& host, std::string& port, const std::string& defaultPort) {
  size_t sep = server.find(',');
  if (sep == std::string::npos) sep = server.rfind(':');
  host = Trim(server.substr(0, sep));
  port = sep == std::string::npos ? defaultPort : Trim(server.substr(sep + 1));
  const size_t instance = host.find('\\');  // a named instance: FreeTDS takes the host and the port
  if (instance != std::string::npos) host = host.substr(0, instance);
}

std::string Credentials(const std::vector<std::pair<std::string, std::string>>& p) {
  return "UID=" + Value(p, "User ID") + ";PWD=" + Value(p, "Password") + ";";
}

}  // namespace

Translation Translate(const std::string& connection, const std::vector<std::string>& drivers, bool exclusive) {
  const auto p = SplitConnectionString(connection);
  if (!HasKey(p, "Provider")) {
    Translation t;
    t.odbc = connection;
    return t;
  }
  const std::string provider = Trim(Value(p, "Provider"));
  const std::string lp = Lower(provider);
  const std::string source = Value(p, "Data Source");
  if (lp.starts_with("microsoft.jet.oledb") || lp.starts_with("microsoft.ace.oledb")) {
    return FileDatabase("Access", source, drivers, exclusive);
  }
  if (lp.starts_with("vfpoledb")) return FileDatabase("Visual FoxPro", source, drivers, exclusive);
  Translation t;
  if (lp == "sqloledb" || lp.starts_with("sqlncli") || lp == "msoledbsql") {
    std::string host, port;
    SplitServer(source, host, port, "1433");
    t.odbc = "Driver=" + DriverFor(drivers, {"FreeTDS"}, "libtdsodbc.so") + ";Server=" + host + ";Port=" + port +
             ";Database=" + Value(p, "Initial Catalog") + ";TDS_Version=7.4;";
    if (Lower(Value(p, "Integrated Security")) == "sspi") {
      t.odbc += "Trusted_Connection=Yes;";
    } else {
      t.odbc += Credentials(p);
    }
    return t;
  }
  if (lp.starts_with("sybase.aseoledbprovider")) {
    std::string host, port;
    SplitServer(source, host, port, "5000");
    t.odbc = "Driver=" + DriverFor(drivers, {"FreeTDS"}, "libtdsodbc.so") + ";Server=" + host + ";Port=" + port +
             ";Database=" + Value(p, "Catalog") + ";TDS_Version=5.0;" + Credentials(p);
    return t;
  }
  if (lp == "mysqlprov") {
    // The data source names the database on this machine; "host/db" or
    // "host:port/db" reach another server.
    std::string host = "localhost", port, db = source;
    const size_t slash = source.find('/');
    if (slash != std::string::npos) {
      SplitServer(source.substr(0, slash), host, port, "");
      db = source.substr(slash + 1);
    }
    t.odbc = "Driver=" + DriverFor(drivers, {"MariaDB Unicode", "MariaDB", "MySQL"}, "libmaodbc.so") +
             ";Server=" + host + (port.empty() ? std::string() : ";Port=" + port) + ";Database=" + db +
             ";" + Credentials(p) + "Option=2;";
    return t;
  }
  if (lp == "msdaora" || lp == "oraoledb.oracle") {
    std::string driver;
    for (const std::string& d : drivers) {
      if (Lower(d).find("oracle") != std::string::npos) {
        driver = d;
        break;
      }
    }
    if (driver.empty()) {
      t.refusal = "No Oracle ODBC driver is installed: the provider " + provider +
                  " is played by Oracle's ODBC driver (from Oracle Instant Client; Debian packages none), and the "
                  "driver manager lists no driver whose name contains \"Oracle\" in odbcinst.ini";
      return t;
    }
    t.odbc = "Driver={" + driver + "};DBQ=" + source + ";";
    if (Value(p, "OSAuthent") == "1") {
      t.odbc += "UID=/;PWD=;";
    } else {
      t.odbc += Credentials(p);
    }
    return t;
  }
  t.refusal = "Provider cannot be found: " + provider + " has no ODBC counterpart on this system";
  return t;
}

}  // namespace vantrove::database

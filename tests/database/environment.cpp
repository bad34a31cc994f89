// Every test process gets a folder of its own and, before any ODBC call, a
// private ODBC configuration: the four drivers, a system data source and a
// user data source on SQLite files in that folder. With the test servers
// running (VANTROVE_DB_ENV names their description), their configuration is
// used instead, which adds data sources on both servers.
#include <arpa/inet.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdlib>

#include "support.hpp"

// What the ODBC drivers and the driver manager keep for the life of the
// process (DSN lookups, connection attributes) is theirs, not ours: the leak
// check of the sanitizer build leaves it out.
extern "C" const char* __lsan_default_suppressions() {
  return "leak:libsqlite3odbc\nleak:libmaodbc\nleak:psqlodbcw\nleak:libtdsodbc\nleak:libodbcinst\n";
}

namespace vantrove::testing {

namespace {
fs::path processFolder;

// The drivers stay loaded for the whole process, so that the leak check of
// the sanitizer build can name (and leave out) what they keep.
void KeepDriversLoaded() {
  for (const char* driver : {"libsqlite3odbc.so", "psqlodbcw.so", "libmaodbc.so", "libtdsodbc.so"}) {
    ::dlopen((std::string("/usr/lib/x86_64-linux-gnu/odbc/") + driver).c_str(), RTLD_LAZY);
  }
}

class PrivateOdbcConfiguration : public ::testing::Environment {
 public:
  void SetUp() override {
    processFolder = fs::temp_directory_path() / ("vantrove-database-" + std::to_string(::getpid()));
    fs::create_directories(processFolder);
    const auto servers = ServerEnvironment();
    if (servers.count("ODBCSYSINI")) {
      ::setenv("ODBCSYSINI", servers.at("ODBCSYSINI").c_str(), 1);
      ::setenv("ODBCINI", servers.at("ODBCINI").c_str(), 1);
      KeepDriversLoaded();
      return;
    }
    const fs::path& d = processFolder;
    WriteText(d / "odbcinst.ini",
              "[SQLite3]\nDriver=libsqlite3odbc.so\nDontDLClose=1\n[PostgreSQL Unicode]\nDriver=psqlodbcw.so\n"
              "DontDLClose=1\n[MariaDB Unicode]\nDriver=libmaodbc.so\nDontDLClose=1\n[FreeTDS]\n"
              "Driver=libtdsodbc.so\nDontDLClose=1\n");
    WriteText(d / "odbc.ini", "[TestSystemSqlite]\nDriver=SQLite3\nDatabase=" + (d / "system.db").string() + "\n");
    WriteText(d / "user-odbc.ini", "[TestUserSqlite]\nDriver=SQLite3\nDatabase=" + (d / "user.db").string() + "\n");
    ::setenv("ODBCSYSINI", d.c_str(), 1);
    ::setenv("ODBCINI", (d / "user-odbc.ini").c_str(), 1);
    KeepDriversLoaded();
  }
  void TearDown() override {
    std::error_code error;
    fs::remove_all(processFolder, error);
  }
};

const auto* const registered = ::testing::AddGlobalTestEnvironment(new PrivateOdbcConfiguration);

}  // namespace

const fs::path& ProcessFolder() { return processFolder; }

int ClosedPort() {
  const int s = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in a{};
  a.sin_family = AF_INET;
  a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t len = sizeof a;
  ::bind(s, reinterpret_cast<sockaddr*>(&a), sizeof a);
  ::getsockname(s, reinterpret_cast<sockaddr*>(&a), &len);
  ::close(s);
  return ntohs(a.sin_port);
}

}  // namespace vantrove::testing

// The provider connection strings, character for character, and what each
// becomes for the ODBC driver manager.
#include <gtest/gtest.h>

#include "../../src/database/providers.hpp"
#include "support.hpp"

namespace vantrove::testing {
namespace {

using namespace database;

TEST(ProviderStrings, AreBuiltExactlyAsTheProvidersTakeThem) {
  EXPECT_EQ(AccessConnectionString("C:\\db\\a b.mdb", "pw;x"),
            "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=C:\\db\\a b.mdb;Jet OLEDB:Database Password=pw;x;");
  EXPECT_EQ(VisualFoxproConnectionString("/data/vfp"),
            "Provider=vfpoledb;Data Source=/data/vfp;Mode=ReadWrite|Share Deny None;Collating Sequence=MACHINE;"
            "Password=''");
  EXPECT_EQ(SqlServerConnectionString("srv", "db", true, "u", "p"),
            "Provider=SQLOLEDB;Data Source=srv;Initial Catalog=db;Integrated Security=SSPI;");
  EXPECT_EQ(SqlServerConnectionString("srv", "db", false, "u", "p"),
            "Provider=SQLOLEDB;Data Source=srv;Initial Catalog=db;User ID=u;Password=p;");
  EXPECT_EQ(SybaseConnectionString("ase", "db", "u", "p"),
            "Provider=Sybase.ASEOLEDBProvider;Data Source=ase,5000;Catalog=db;User ID=u;Password=p;");
  EXPECT_EQ(MySqlConnectionString("shop", "u", "p"), "Provider=MySQLProv;Data Source=shop;User Id=u;Password=p;");
  EXPECT_EQ(OracleConnectionString(0, "orcl", true, "u", "p"), "Provider=MSDAORA;Data Source=orcl;OSAuthent=1;");
  EXPECT_EQ(OracleConnectionString(1, "orcl", false, "u", "p"),
            "Provider=OraOLEDB.Oracle;Data Source=orcl;User Id=u;Password=p;");
}

TEST(ProviderStrings, DsnOrConnectionStringRule) {
  EXPECT_EQ(DsnOrConnectionString("Parts", "", ""), "DSN=Parts;UID=;PWD=;");
  EXPECT_EQ(DsnOrConnectionString("Parts", "me", "pw"), "DSN=Parts;UID=me;PWD=pw;");
  EXPECT_EQ(DsnOrConnectionString("Driver=SQLite3;Database=x", "me", "pw"), "Driver=SQLite3;Database=x");
}

TEST(ProviderStrings, SplitKeepsBracedValuesAndSkipsEmptyPieces) {
  const auto p = SplitConnectionString(" Provider = X;;Driver={A;B};Pwd=a=b;last");
  ASSERT_EQ(p.size(), 3u);
  EXPECT_EQ(p[0], (std::pair<std::string, std::string>{"Provider", " X"}));
  EXPECT_EQ(p[1].second, "{A;B}");
  EXPECT_EQ(p[2].second, "a=b");
}

TEST(Translation, FileDatabasesBecomeSqliteFilesThatMustExist) {
  TempDir dir;
  const std::string db = SqliteDatabase(dir, "parts.db", {"CREATE TABLE t(a)"});
  const std::vector<std::string> drivers = {"SQLite3", "FreeTDS"};
  Translation t = Translate(AccessConnectionString(db, "secret"), drivers, true);
  EXPECT_EQ(t.refusal, "");
  EXPECT_EQ(t.odbc, "Driver=SQLite3;Database=" + db + ";Timeout=10000;");
  EXPECT_TRUE(t.exclusive);
  EXPECT_EQ(Translate(VisualFoxproConnectionString(db), drivers).odbc, t.odbc);

  t = Translate(AccessConnectionString(dir / "missing.mdb", ""), drivers);
  EXPECT_NE(t.refusal.find("does not exist"), std::string::npos) << t.refusal;

  // A real Jet file: recognised by its signature and refused with the reason.
  std::string jet(2048, '\0');
  jet.replace(4, 15, "Standard Jet DB");
  WriteText(dir.path() / "real.mdb", jet);
  t = Translate(AccessConnectionString(dir / "real.mdb", ""), drivers);
  EXPECT_NE(t.refusal.find("Jet/ACE"), std::string::npos) << t.refusal;
}

TEST(Translation, ServersGoToFreeTdsAndMariaDb) {
  const std::vector<std::string> drivers = {"FreeTDS", "MariaDB Unicode"};
  EXPECT_EQ(Translate(SqlServerConnectionString("db1,1444", "sales", false, "sa", "pw"), drivers).odbc,
            "Driver=FreeTDS;Server=db1;Port=1444;Database=sales;TDS_Version=7.4;UID=sa;PWD=pw;");
  EXPECT_EQ(Translate(SqlServerConnectionString("db1\\SQLEXPRESS", "sales", true, "", ""), drivers).odbc,
            "Driver=FreeTDS;Server=db1;Port=1433;Database=sales;TDS_Version=7.4;Trusted_Connection=Yes;");
  EXPECT_EQ(Translate(SybaseConnectionString("ase", "db", "u", "p"), drivers).odbc,
            "Driver=FreeTDS;Server=ase;Port=5000;Database=db;TDS_Version=5.0;UID=u;PWD=p;");
  EXPECT_EQ(Translate(MySqlConnectionString("shop", "u", "p"), drivers).odbc,
            "Driver=MariaDB Unicode;Server=localhost;Database=shop;UID=u;PWD=p;Option=2;");
  EXPECT_EQ(Translate(MySqlConnectionString("10.0.0.5:3307/shop", "u", "p"), drivers).odbc,
            "Driver=MariaDB Unicode;Server=10.0.0.5;Port=3307;Database=shop;UID=u;PWD=p;Option=2;");
}

TEST(Translation, OracleNeedsAnInstalledOracleDriver) {
  Translation t = Translate(OracleConnectionString(1, "orcl", false, "u", "p"), {"SQLite3", "FreeTDS"});
  EXPECT_EQ(t.odbc, "");
  EXPECT_NE(t.refusal.find("No Oracle ODBC driver is installed"), std::string::npos) << t.refusal;
  t = Translate(OracleConnectionString(0, "orcl", false, "u", "p"), {"Oracle 21 ODBC driver"});
  EXPECT_EQ(t.odbc, "Driver={Oracle 21 ODBC driver};DBQ=orcl;UID=u;PWD=p;");
  t = Translate(OracleConnectionString(0, "orcl", true, "", ""), {"Oracle 21 ODBC driver"});
  EXPECT_EQ(t.odbc, "Driver={Oracle 21 ODBC driver};DBQ=orcl;UID=/;PWD=;");
}

TEST(Translation, OdbcStringsPassAndUnknownProvidersAreRefused) {
  EXPECT_EQ(Translate("DSN=Parts;UID=;PWD=;", {}).odbc, "DSN=Parts;UID=;PWD=;");
  EXPECT_NE(Translate("Provider=MSDAOSP; Data Source=MSXML2.DSOControl.6.0;", {}).refusal.find("Provider cannot be found"),
            std::string::npos);
}

}  // namespace
}  // namespace vantrove::testing

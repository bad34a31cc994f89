// Arrays and delimited text files into database tables: the six provider
// writers, the ODBC writer, the text-file writer and their twins.
//
// Results of the provider writers and TwoDArrayToDatabaseTable: 1 done,
// -1 varArray holds no array, -2 the connection failed (a provider with no
// driver here included), -3 the table cannot be opened, -4 more columns than
// fields, -5 a run-time error (rolled back). TextFileToDatabaseTable: 1,
// -1 the file does not exist, -2 it gave no array, -3 connection, -4 table,
// -5 columns, -6 run-time error. LastDatabaseDiagnostic() says why.
#include "transfer.hpp"
#include "vantrove/component.hpp"

namespace vantrove {

namespace {

using database::WriteRequest;
using database::WriteStage;

int16_t WriterCode(WriteStage s) {
  switch (s) {
    case WriteStage::Done: return 1;
    case WriteStage::NoArray: return -1;
    case WriteStage::Connect: return -2;
    case WriteStage::OpenTable: return -3;
    case WriteStage::TooManyColumns: return -4;
    case WriteStage::Runtime: return -5;
  }
  return -5;
}

int16_t Write(const Variant& array, std::string connection, const std::string& table, const std::string& before,
              const std::string& after, bool exclusive = false) noexcept {
  try {
    WriteRequest r;
    r.connection = std::move(connection);
    r.table = table;
    r.queryBefore = before;
    r.queryAfter = after;
    r.exclusive = exclusive;
    return WriterCode(database::WriteArrayToTable(array, r));
  } catch (...) {
    return -5;
  }
}

// The twins' arguments: Empty and missing give "" and false.
std::string S(const Variant& v) { return v.IsMissing() || v.IsEmpty() ? std::string() : CStr(v); }
bool B(const Variant& v) { return v.IsMissing() || v.IsEmpty() ? false : CBool(v); }

// Runs a twin: arguments that cannot be converted are a run-time error.
template <class F>
int16_t Twin(const Variant& array, F&& body) noexcept {
  if (!array.IsArray()) {
    database::SetDiagnostic("The data is not an array (it is a " + array.TypeName() + ")");
    return -1;
  }
  try {
    return body();
  } catch (const RuntimeError& e) {
    database::SetDiagnostic("An argument could not be converted: " + e.description());
    return -5;
  } catch (...) {
    return -5;
  }
}

}  // namespace

int16_t clsVantrove::TwoDArrayToAccessTable(const Variant& varArray, const std::string& strAccessMDB,
                                            const std::string& strAccessTable, const std::string& strPassword,
                                            const std::string& strQueryBeforeInsert,
                                            const std::string& strQueryAfterInsert, bool blnExclusivelyOpenMDB) {
  return Write(varArray, database::AccessConnectionString(strAccessMDB, strPassword), strAccessTable,
               strQueryBeforeInsert, strQueryAfterInsert, blnExclusivelyOpenMDB);
}

int16_t clsVantrove::Web_TwoDArrayToAccessTable(const Variant& varArray, const Variant& strAccessMDB,
                                                const Variant& strAccessTable, const Variant& strPassword,
                                                const Variant& strQueryBeforeInsert, const Variant& strQueryAfterInsert,
                                                const Variant& blnExclusivelyOpenMDB) {
  return Twin(varArray, [&] {
    return TwoDArrayToAccessTable(varArray, S(strAccessMDB), S(strAccessTable), S(strPassword),
                                  S(strQueryBeforeInsert), S(strQueryAfterInsert), B(blnExclusivelyOpenMDB));
  });
}

int16_t clsVantrove::TwoDArrayToVisualFoxproTable(const Variant& varArray, const std::string& strVisualFoxproDB,
                                                  const std::string& strTable, const std::string& strQueryBeforeInsert,
                                                  const std::string& strQueryAfterInsert) {
  return Write(varArray, database::VisualFoxproConnectionString(strVisualFoxproDB), strTable, strQueryBeforeInsert,
               strQueryAfterInsert);
}

int16_t clsVantrove::Web_TwoDArrayToVisualFoxproTable(const Variant& varArray, const Variant& strVisualFoxproDB,
                                                      const Variant& strTable, const Variant& strQueryBeforeInsert,
                                                      const Variant& strQueryAfterInsert) {
  return Twin(varArray, [&] {
    return TwoDArrayToVisualFoxproTable(varArray, S(strVisualFoxproDB), S(strTable), S(strQueryBeforeInsert),
                                        S(strQueryAfterInsert));
  });
}

int16_t clsVantrove::TwoDArrayToSQLServerTable(const Variant& varArray, const std::string& strServer,
                                               const std::string& strDatabase, const std::string& strTable,
                                               bool blnTrustedConnection, const std::string& strUserID,
                                               const std::string& strPassword, const std::string& strQueryBeforeInsert,
                                               const std::string& strQueryAfterInsert) {
  return Write(varArray,
               database::SqlServerConnectionString(strServer, strDatabase, blnTrustedConnection, strUserID, strPassword),
               strTable, strQueryBeforeInsert, strQueryAfterInsert);
}

int16_t clsVantrove::Web_TwoDArrayToSQLServerTable(const Variant& varArray, const Variant& strServer,
                                                   const Variant& strDatabase, const Variant& strTable,
                                                   const Variant& blnTrustedConnection, const Variant& strUserID,
                                                   const Variant& strPassword, const Variant& strQueryBeforeInsert,
                                                   const Variant& strQueryAfterInsert) {
  return Twin(varArray, [&] {
    return TwoDArrayToSQLServerTable(varArray, S(strServer), S(strDatabase), S(strTable), B(blnTrustedConnection),
                                     S(strUserID), S(strPassword), S(strQueryBeforeInsert), S(strQueryAfterInsert));
  });
}

int16_t clsVantrove::TwoDArrayToSybaseTable(const Variant& varArray, const std::string& strServer,
                                            const std::string& strDatabase, const std::string& strTable,
                                            const std::string& strUserID, const std::string& strPassword,
                                            const std::string& strQueryBeforeInsert,
                                            const std::string& strQueryAfterInsert) {
  return Write(varArray, database::SybaseConnectionString(strServer, strDatabase, strUserID, strPassword), strTable,
               strQueryBeforeInsert, strQueryAfterInsert);
}

int16_t clsVantrove::Web_TwoDArrayToSybaseTable(const Variant& varArray, const Variant& strServer,
                                                const Variant& strDatabase, const Variant& strTable,
                                                const Variant& strUserID, const Variant& strPassword,
                                                const Variant& strQueryBeforeInsert,
                                                const Variant& strQueryAfterInsert) {
  return Twin(varArray, [&] {
    return TwoDArrayToSybaseTable(varArray, S(strServer), S(strDatabase), S(strTable), S(strUserID), S(strPassword),
                                  S(strQueryBeforeInsert), S(strQueryAfterInsert));
  });
}

int16_t clsVantrove::TwoDArrayToMySQLTable(const Variant& varArray, const std::string& strMySQLDB,
                                           const std::string& strTable, const std::string& strUserID,
                                           const std::string& strPassword, const std::string& strQueryBeforeInsert,
                                           const std::string& strQueryAfterInsert) {
  return Write(varArray, database::MySqlConnectionString(strMySQLDB, strUserID, strPassword), strTable,
               strQueryBeforeInsert, strQueryAfterInsert);
}

int16_t clsVantrove::Web_TwoDArrayToMySQLTable(const Variant& varArray, const Variant& strMySQLDB,
                                               const Variant& strTable, const Variant& strUserID,
                                               const Variant& strPassword, const Variant& strQueryBeforeInsert,
                                               const Variant& strQueryAfterInsert) {
  return Twin(varArray, [&] {
    return TwoDArrayToMySQLTable(varArray, S(strMySQLDB), S(strTable), S(strUserID), S(strPassword),
                                 S(strQueryBeforeInsert), S(strQueryAfterInsert));
  });
}

int16_t clsVantrove::TwoDArrayToOracleTable(const Variant& varArray, OracleProviderType lngProvider,
                                            const std::string& strOracleDB, const std::string& strTable,
                                            bool blnTrustedConnection, const std::string& strUserID,
                                            const std::string& strPassword, const std::string& strQueryBeforeInsert,
                                            const std::string& strQueryAfterInsert) {
  return Write(varArray,
               database::OracleConnectionString(static_cast<int32_t>(lngProvider), strOracleDB, blnTrustedConnection,
                                                strUserID, strPassword),
               strTable, strQueryBeforeInsert, strQueryAfterInsert);
}

int16_t clsVantrove::Web_TwoDArrayToOracleTable(const Variant& varArray, Variant lngProvider,
                                                const Variant& strOracleDB, const Variant& strTable,
                                                const Variant& blnTrustedConnection, const Variant& strUserID,
                                                const Variant& strPassword, const Variant& strQueryBeforeInsert,
                                                const Variant& strQueryAfterInsert) {
  return Twin(varArray, [&] {
    const auto provider = static_cast<OracleProviderType>(lngProvider.IsMissing() ? 0 : CLng(lngProvider));
    return TwoDArrayToOracleTable(varArray, provider, S(strOracleDB), S(strTable), B(blnTrustedConnection),
                                  S(strUserID), S(strPassword), S(strQueryBeforeInsert), S(strQueryAfterInsert));
  });
}

// ---- ODBC writers ---------------------------------------------------------------------

int16_t clsVantrove::TwoDArrayToDatabaseTable(const Variant& varArray, const std::string& strDSNorConnString,
                                              const std::string& strTable, const std::string& strUserID,
                                              const std::string& strPassword, bool blnOverwrite) {
  try {
    WriteRequest r;
    r.connection = database::DsnOrConnectionString(strDSNorConnString, strUserID, strPassword);
    r.table = strTable;
    r.overwrite = blnOverwrite;
    return WriterCode(database::WriteArrayToTable(varArray, r));
  } catch (...) {
    return -5;
  }
}

int16_t clsVantrove::Web_TwoDArrayToDatabaseTable(const Variant& varArray, const Variant& strDSNorConnString,
                                                  const Variant& strTable, const Variant& strUserID,
                                                  const Variant& strPassword, const Variant& blnOverwrite) {
  return Twin(varArray, [&] {
    return TwoDArrayToDatabaseTable(varArray, S(strDSNorConnString), S(strTable), S(strUserID), S(strPassword),
                                    B(blnOverwrite));
  });
}

int16_t clsVantrove::TextFileToDatabaseTable(const std::string& strTextFile, const std::string& strDSNorConnString,
                                             const std::string& strTable, const std::string& strUserID,
                                             const std::string& strPassword, bool blnOverwrite,
                                             std::string strDelimiter, bool blnRemoveQuotes) {
  try {
    database::SetDiagnostic("");
    Variant file(strTextFile);
    if (!FileExists(file)) {
      database::SetDiagnostic("The text file " + strTextFile + " does not exist");
      return -1;
    }
    // An empty delimiter means the comma.
    const std::string delimiter = strDelimiter.empty() ? std::string(1, ',') : strDelimiter;
    Variant array{SafeArray()};
    if (TextFileToArray(strTextFile, array, delimiter, blnRemoveQuotes) != 1 || !array.IsArray() ||
        !array.array().allocated()) {
      database::SetDiagnostic("The text file " + strTextFile + " could not be read into an array");
      return -2;
    }
    WriteRequest r;
    r.connection = database::DsnOrConnectionString(strDSNorConnString, strUserID, strPassword);
    r.table = strTable;
    r.overwrite = blnOverwrite;
    switch (database::WriteArrayToTable(array, r)) {
      case WriteStage::Done: return 1;
      case WriteStage::NoArray: return -2;
      case WriteStage::Connect: return -3;
      case WriteStage::OpenTable: return -4;
      case WriteStage::TooManyColumns: return -5;
      case WriteStage::Runtime: return -6;
    }
  } catch (...) {
  }
  return -6;
}

int16_t clsVantrove::Web_TextFileToDatabaseTable(const std::string& strTextFile,
                                                 const std::string& strDSNorConnString, const std::string& strTable,
                                                 const std::string& strUserID, const std::string& strPassword,
                                                 bool blnOverwrite, std::string strDelimiter, bool blnRemoveQuotes) {
  return TextFileToDatabaseTable(strTextFile, strDSNorConnString, strTable, strUserID, strPassword, blnOverwrite,
                                 std::move(strDelimiter), blnRemoveQuotes);
}

}  // namespace vantrove

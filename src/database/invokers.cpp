// Late binding for the database members.
#include "../component/invoke.hpp"

namespace vantrove::detail {

void RegisterDatabaseInvokers(InvokerTable& t) {
  Register<&clsVantrove::TwoDArrayToAccessTable>(t, "TwoDArrayToAccessTable");
  Register<&clsVantrove::Web_TwoDArrayToAccessTable>(t, "Web_TwoDArrayToAccessTable");
  Register<&clsVantrove::TwoDArrayToVisualFoxproTable>(t, "TwoDArrayToVisualFoxproTable");
  Register<&clsVantrove::Web_TwoDArrayToVisualFoxproTable>(t, "Web_TwoDArrayToVisualFoxproTable");
  Register<&clsVantrove::TwoDArrayToSQLServerTable>(t, "TwoDArrayToSQLServerTable");
  Register<&clsVantrove::Web_TwoDArrayToSQLServerTable>(t, "Web_TwoDArrayToSQLServerTable");
  Register<&clsVantrove::TwoDArrayToSybaseTable>(t, "TwoDArrayToSybaseTable");
  Register<&clsVantrove::Web_TwoDArrayToSybaseTable>(t, "Web_TwoDArrayToSybaseTable");
  Register<&clsVantrove::TwoDArrayToMySQLTable>(t, "TwoDArrayToMySQLTable");
  Register<&clsVantrove::Web_TwoDArrayToMySQLTable>(t, "Web_TwoDArrayToMySQLTable");
  Register<&clsVantrove::TwoDArrayToOracleTable>(t, "TwoDArrayToOracleTable");
  Register<&clsVantrove::Web_TwoDArrayToOracleTable>(t, "Web_TwoDArrayToOracleTable");
  Register<&clsVantrove::TwoDArrayToDatabaseTable>(t, "TwoDArrayToDatabaseTable");
  Register<&clsVantrove::Web_TwoDArrayToDatabaseTable>(t, "Web_TwoDArrayToDatabaseTable");
  Register<&clsVantrove::TextFileToDatabaseTable>(t, "TextFileToDatabaseTable");
  Register<&clsVantrove::Web_TextFileToDatabaseTable>(t, "Web_TextFileToDatabaseTable");
  Register<&clsVantrove::DatabaseTableToArray>(t, "DatabaseTableToArray");
  Register<&clsVantrove::Web_DatabaseTableToArray>(t, "Web_DatabaseTableToArray");
  Register<&clsVantrove::DatabaseTableToTextFile>(t, "DatabaseTableToTextFile");
  Register<&clsVantrove::Web_DatabaseTableToTextFile>(t, "Web_DatabaseTableToTextFile");
  Register<&clsVantrove::SystemDSNsToOneDArray>(t, "SystemDSNsToOneDArray");
  Register<&clsVantrove::AllDSNsToOneDArray>(t, "AllDSNsToOneDArray");
  Register<&clsVantrove::RecordsetToArray>(t, "RecordsetToArray");
  Register<&clsVantrove::Web_RecordsetToArray>(t, "Web_RecordsetToArray");
  Register<&clsVantrove::RecordsetToTextFile>(t, "RecordsetToTextFile");
  Register<&clsVantrove::Web_RecordsetToTextFile>(t, "Web_RecordsetToTextFile");
  Register<&clsVantrove::TwoDArrayToRecordset>(t, "TwoDArrayToRecordset");
  Register<&clsVantrove::Web_TwoDArrayToRecordset>(t, "Web_TwoDArrayToRecordset");
  Register<&clsVantrove::CreateRecordsetFromArray>(t, "CreateRecordsetFromArray");
}

}  // namespace vantrove::detail

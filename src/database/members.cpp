// The database members: arrays and text files into tables, query results into
// arrays and text files, data source names.
//
// One declaration per member (see docs/members.md).
#include "../component/member.hpp"

namespace vantrove::detail {

namespace {

constexpr MemberDecl kMembers[] = {
    VANTROVE_NOT_YET(2, TwoDArrayToAccessTable, "Integer",
     "varArray As Variant, strAccessMDB As String, strAccessTable As String, Optional strPassword As String, "
     "Optional strQueryBeforeInsert As String, Optional strQueryAfterInsert As String, "
     "Optional blnExclusivelyOpenMDB As Boolean",
     "Method to copy a two dimensional array to an Access table."),
    VANTROVE_NOT_YET(3, Web_TwoDArrayToAccessTable, "Integer",
     "varArray As Variant, strAccessMDB As Variant, strAccessTable As Variant, Optional strPassword As Variant = \"\", "
     "Optional strQueryBeforeInsert As Variant = \"\", Optional strQueryAfterInsert As Variant = \"\", "
     "Optional blnExclusivelyOpenMDB As Variant = False",
     "Web method to copy a two dimensional array to an Access table."),
    VANTROVE_NOT_YET(4, TwoDArrayToVisualFoxproTable, "Integer",
     "varArray As Variant, strVisualFoxproDB As String, strTable As String, Optional strQueryBeforeInsert As String, "
     "Optional strQueryAfterInsert As String",
     "Method to copy a two dimensional array to a Visual FoxPro table."),
    VANTROVE_NOT_YET(5, Web_TwoDArrayToVisualFoxproTable, "Integer",
     "varArray As Variant, strVisualFoxproDB As Variant, strTable As Variant, "
     "Optional strQueryBeforeInsert As Variant = \"\", Optional strQueryAfterInsert As Variant = \"\"",
     "Web method to copy a two dimensional array to a Visual FoxPro table."),
    VANTROVE_NOT_YET(6, TwoDArrayToSQLServerTable, "Integer",
     "varArray As Variant, strServer As String, strDatabase As String, strTable As String, "
     "Optional blnTrustedConnection As Boolean, Optional strUserID As String, Optional strPassword As String, "
     "Optional strQueryBeforeInsert As String, Optional strQueryAfterInsert As String",
     "Method to copy a two dimensional array to a SQL Server table."),
    VANTROVE_NOT_YET(7, Web_TwoDArrayToSQLServerTable, "Integer",
     "varArray As Variant, strServer As Variant, strDatabase As Variant, strTable As Variant, "
     "Optional blnTrustedConnection As Variant = False, Optional strUserID As Variant = \"\", "
     "Optional strPassword As Variant = \"\", Optional strQueryBeforeInsert As Variant = \"\", "
     "Optional strQueryAfterInsert As Variant = \"\"",
     "Web method to copy a two dimensional array to a SQL Server table."),
    VANTROVE_NOT_YET(8, TwoDArrayToSybaseTable, "Integer",
     "varArray As Variant, strServer As String, strDatabase As String, strTable As String, "
     "Optional strUserID As String, Optional strPassword As String, Optional strQueryBeforeInsert As String, "
     "Optional strQueryAfterInsert As String",
     "Method to copy a two dimensional array to a Sybase table."),
    VANTROVE_NOT_YET(9, Web_TwoDArrayToSybaseTable, "Integer",
     "varArray As Variant, strServer As Variant, strDatabase As Variant, strTable As Variant, "
     "Optional strUserID As Variant = \"\", Optional strPassword As Variant = \"\", "
     "Optional strQueryBeforeInsert As Variant = \"\", Optional strQueryAfterInsert As Variant = \"\"",
     "Web method to copy a two dimensional array to a Sybase table."),
    VANTROVE_NOT_YET(10, TwoDArrayToMySQLTable, "Integer",
     "varArray As Variant, strMySQLDB As String, strTable As String, Optional strUserID As String, "
     "Optional strPassword As String, Optional strQueryBeforeInsert As String, Optional strQueryAfterInsert As String",
     "Method to copy a two dimensional array to a MySQL table."),
    VANTROVE_NOT_YET(11, Web_TwoDArrayToMySQLTable, "Integer",
     "varArray As Variant, strMySQLDB As Variant, strTable As Variant, Optional strUserID As Variant = \"\", "
     "Optional strPassword As Variant = \"\", Optional strQueryBeforeInsert As Variant = \"\", "
     "Optional strQueryAfterInsert As Variant = \"\"",
     "Web method to copy a two dimensional array to a MySQL table."),
    VANTROVE_NOT_YET(12, TwoDArrayToOracleTable, "Integer",
     "varArray As Variant, ByVal lngProvider As OracleProviderType, strOracleDB As String, strTable As String, "
     "Optional blnTrustedConnection As Boolean, Optional strUserID As String, Optional strPassword As String, "
     "Optional strQueryBeforeInsert As String, Optional strQueryAfterInsert As String",
     "Method to copy a two dimensional array to an Oracle table."),
    VANTROVE_NOT_YET(13, Web_TwoDArrayToOracleTable, "Integer",
     "varArray As Variant, ByVal lngProvider As Variant, strOracleDB As Variant, strTable As Variant, "
     "Optional blnTrustedConnection As Variant = False, Optional strUserID As Variant = \"\", "
     "Optional strPassword As Variant = \"\", Optional strQueryBeforeInsert As Variant = \"\", "
     "Optional strQueryAfterInsert As Variant = \"\"",
     "Web method to copy a two dimensional array to an Oracle table."),
    VANTROVE_NOT_YET(19, TwoDArrayToDatabaseTable, "Integer",
     "varArray As Variant, strDSNorConnString As String, strTable As String, Optional strUserID As String, "
     "Optional strPassword As String, Optional blnOverwrite As Boolean",
     "Method to copy a two dimensional array to a database table through an ODBC data source or connection string."),
    VANTROVE_NOT_YET(20, Web_TwoDArrayToDatabaseTable, "Integer",
     "varArray As Variant, strDSNorConnString As Variant, strTable As Variant, Optional strUserID As Variant = \"\", "
     "Optional strPassword As Variant = \"\", Optional blnOverwrite As Variant = False",
     "Web method to copy a two dimensional array to a database table through an ODBC data source or connection "
     "string."),
    VANTROVE_NOT_YET(21, TextFileToDatabaseTable, "Integer",
     "strTextFile As String, strDSNorConnString As String, strTable As String, Optional strUserID As String, "
     "Optional strPassword As String, Optional blnOverwrite As Boolean, Optional ByVal strDelimiter As String, "
     "Optional blnRemoveQuotes As Boolean",
     "Method to copy a delimited text file to a database table through an ODBC data source or connection string."),
    VANTROVE_NOT_YET(22, Web_TextFileToDatabaseTable, "Integer",
     "strTextFile As String, strDSNorConnString As String, strTable As String, Optional strUserID As String, "
     "Optional strPassword As String, Optional blnOverwrite As Boolean, Optional ByVal strDelimiter As String, "
     "Optional blnRemoveQuotes As Boolean",
     "Web method to copy a delimited text file to a database table through an ODBC data source or connection "
     "string."),
    VANTROVE_NOT_YET(23, SystemDSNsToOneDArray, "Variant", "", "Method to list the system ODBC data source names in a one dimensional array."),
    VANTROVE_NOT_YET(24, AllDSNsToOneDArray, "Variant", "",
     "Method to list all user and system ODBC data source names in a one dimensional array."),
    VANTROVE_NOT_YET(107, DatabaseTableToArray, "Integer",
     "strDSNorConnString As String, strSQL As String, varArray As Variant, Optional strUserID As String, "
     "Optional strPassword As String, Optional blnIncludeHeadings As Boolean",
     "Method to copy the result of a database query to a two dimensional array."),
    VANTROVE_NOT_YET(108, Web_DatabaseTableToArray, "Integer",
     "strDSNorConnString As Variant, strSQL As Variant, varArray As Variant, Optional strUserID As Variant = \"\", "
     "Optional strPassword As Variant = \"\", Optional blnIncludeHeadings As Variant = False",
     "Web method to copy the result of a database query to a two dimensional array."),
    VANTROVE_NOT_YET(109, DatabaseTableToTextFile, "Integer",
     "strDSNorConnString As String, strSQL As String, strTextFile As String, Optional strUserID As String, "
     "Optional strPassword As String, Optional blnIncludeHeadings As Boolean, Optional ByVal strDelimiter As String, "
     "Optional blnQuotes As Boolean",
     "Method to copy the result of a database query to a text file."),
    VANTROVE_NOT_YET(110, Web_DatabaseTableToTextFile, "Integer",
     "strDSNorConnString As Variant, strSQL As Variant, strTextFile As Variant, Optional strUserID As Variant = \"\", "
     "Optional strPassword As Variant = \"\", Optional blnIncludeHeadings As Variant = False, "
     "Optional ByVal strDelimiter As Variant = \"\", Optional blnQuotes As Variant = False",
     "Web method to copy the result of a database query to a text file."),
};

}  // namespace

std::span<const MemberDecl> DatabaseMembers() { return kMembers; }

}  // namespace vantrove::detail

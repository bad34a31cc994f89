// Query results into arrays and text files, and the lists of data source
// names.
//
// DatabaseTableToArray and its twin: 1 done, -1 varArray holds no array,
// -2 the connection failed, -3 the statement could not be run, -4 a run-time
// error while reading. DatabaseTableToTextFile and its twin: 1, -1 connection,
// -2 statement, -3 run-time error (the output file is replaced only when the
// whole result was written). The array is sized from the exact number of
// records: the whole result is read before it is made.
#include <sql.h>

#include "transfer.hpp"
#include "vantrove/component.hpp"
#include "vantrove/output.hpp"

namespace vantrove {

namespace {

using database::ReadStage;
using database::ResultTable;

std::string S(const Variant& v) { return v.IsMissing() || v.IsEmpty() ? std::string() : CStr(v); }
bool B(const Variant& v) { return v.IsMissing() || v.IsEmpty() ? false : CBool(v); }
// A field's text in a line: Null gives "".
std::string FieldText(const Variant& v) { return v.IsNull() ? std::string() : CStr(v); }

// Fills `out` with the result, row 0 holding the field names when asked.
void ToArray(ResultTable& t, bool headings, Variant& out) {
  const auto cols = static_cast<int32_t>(t.columns.size());
  const auto rows = static_cast<int32_t>(t.rows) + (headings ? 1 : 0);
  SafeArray a({Bounds{0, rows - 1}, Bounds{0, cols - 1}});
  std::vector<Variant>& d = a.data();
  size_t at = 0;
  if (headings) {
    for (const auto& c : t.columns) d[at++] = Variant(c.name);
  }
  for (Variant& v : t.cells) d[at++] = std::move(v);
  out = Variant(std::move(a));
}

// One line of fields, joined by `delimiter`, each quoted when asked.
template <class Each>
void Line(clsConcat& line, size_t count, const std::string& delimiter, bool quotes, Each&& each) {
  line.ReInit();
  for (size_t i = 0; i < count; ++i) {
    if (i) line.SConcat(delimiter);
    if (quotes) line.SConcat("\"");
    line.SConcat(each(i));
    if (quotes) line.SConcat("\"");
  }
}

}  // namespace

int16_t clsVantrove::DatabaseTableToArray(const std::string& strDSNorConnString, const std::string& strSQL,
                                          Variant& varArray, const std::string& strUserID,
                                          const std::string& strPassword, bool blnIncludeHeadings) {
  try {
    if (!varArray.IsArray()) {
      database::SetDiagnostic("varArray must hold an array to receive the result (it holds a " + varArray.TypeName() +
                              ")");
      return -1;
    }
    ResultTable t;
    switch (database::ReadQuery(database::DsnOrConnectionString(strDSNorConnString, strUserID, strPassword), strSQL, t)) {
      case ReadStage::Connect: return -2;
      case ReadStage::OpenQuery: return -3;
      case ReadStage::Runtime: return -4;
      case ReadStage::Done: break;
    }
    ToArray(t, blnIncludeHeadings, varArray);
    return 1;
  } catch (...) {
    return -4;
  }
}

int16_t clsVantrove::Web_DatabaseTableToArray(const Variant& strDSNorConnString, const Variant& strSQL,
                                              Variant& varArray, const Variant& strUserID, const Variant& strPassword,
                                              const Variant& blnIncludeHeadings) {
  if (!varArray.IsArray()) return DatabaseTableToArray("", "", varArray);
  try {
    return DatabaseTableToArray(S(strDSNorConnString), S(strSQL), varArray, S(strUserID), S(strPassword),
                                B(blnIncludeHeadings));
  } catch (...) {
    return -4;
  }
}

int16_t clsVantrove::DatabaseTableToTextFile(const std::string& strDSNorConnString, const std::string& strSQL,
                                             const std::string& strTextFile, const std::string& strUserID,
                                             const std::string& strPassword, bool blnIncludeHeadings,
                                             std::string strDelimiter, bool blnQuotes) {
  try {
    ResultTable t;
    switch (database::ReadQuery(database::DsnOrConnectionString(strDSNorConnString, strUserID, strPassword), strSQL, t)) {
      case ReadStage::Connect: return -1;
      case ReadStage::OpenQuery: return -2;
      case ReadStage::Runtime: return -3;
      case ReadStage::Done: break;
    }
    OutputFile file(strTextFile);
    clsConcat line;
    const size_t cols = t.columns.size();
    if (blnIncludeHeadings) {
      Line(line, cols, strDelimiter, blnQuotes, [&](size_t i) { return t.columns[i].name; });
      file.Write(line.GetString() + "\r\n");
    }
    for (size_t r = 0; r < t.rows; ++r) {
      Line(line, cols, strDelimiter, blnQuotes, [&](size_t i) { return FieldText(t.cells[r * cols + i]); });
      file.Write(line.GetString() + "\r\n");
    }
    file.Commit();
    return 1;
  } catch (const RuntimeError& e) {
    database::SetDiagnostic("The text file " + strTextFile + " could not be written: " + e.description());
  } catch (...) {
  }
  return -3;
}

int16_t clsVantrove::Web_DatabaseTableToTextFile(const Variant& strDSNorConnString, const Variant& strSQL,
                                                 const Variant& strTextFile, const Variant& strUserID,
                                                 const Variant& strPassword, const Variant& blnIncludeHeadings,
                                                 Variant strDelimiter, const Variant& blnQuotes) {
  try {
    return DatabaseTableToTextFile(S(strDSNorConnString), S(strSQL), S(strTextFile), S(strUserID), S(strPassword),
                                   B(blnIncludeHeadings), S(strDelimiter), B(blnQuotes));
  } catch (...) {
    return -3;
  }
}

// ---- Data source names -----------------------------------------------------------------

namespace {

Variant DataSourceNames(SQLUSMALLINT firstDirection) {
  SQLHENV env = SQL_NULL_HENV;
  if (SQLAllocEnv(&env) != SQL_SUCCESS) return Variant();
  SQLCHAR name[1024];
  SQLCHAR description[1024];
  std::fill(std::begin(name), std::end(name), ' ');
  std::fill(std::begin(description), std::end(description), ' ');
  SQLSMALLINT nameLength = 0, descriptionLength = 0;
  std::vector<Variant> names;
  SQLUSMALLINT direction = firstDirection;
  while (SQLDataSources(env, direction, name, 1024, &nameLength, description, 1024, &descriptionLength) ==
         SQL_SUCCESS) {
    const std::string text(reinterpret_cast<const char*>(name),
                           static_cast<size_t>(std::clamp<SQLSMALLINT>(nameLength, 0, 1023)));
    if (!Trim(text).empty()) names.emplace_back(text);
    direction = SQL_FETCH_NEXT;
  }
  SQLFreeEnv(env);
  if (names.empty()) return Variant();
  SafeArray list({Bounds{0, static_cast<int32_t>(names.size()) - 1}}, VarType::String);
  for (size_t i = 0; i < names.size(); ++i) list.data()[i] = std::move(names[i]);
  return Variant(std::move(list));
}

}  // namespace

Variant clsVantrove::SystemDSNsToOneDArray() {
  try {
    return DataSourceNames(SQL_FETCH_FIRST_SYSTEM);
  } catch (...) {
    return Variant();
  }
}

Variant clsVantrove::AllDSNsToOneDArray() {
  try {
    return DataSourceNames(SQL_FETCH_FIRST);
  } catch (...) {
    return Variant();
  }
}

}  // namespace vantrove

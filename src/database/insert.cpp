// The insertion itself: one prepared INSERT whose parameters are bound as
// column-wise arrays, so that a batch of rows travels in one call where the
// driver supports it (MariaDB's connector sends such a batch as one bulk
// operation). Each field gets the C type its SQL type asks for, so that the
// array's values are converted here with the ordinary conversions: a text
// that is no number meant for an integer field is a type mismatch, and the
// transfer rolls back.
#include <cmath>
#include <memory>

#include "transfer.hpp"

namespace vantrove::database {

namespace {

constexpr size_t kBatchRows = 1000;

enum class Kind { Integer, Bit, Real, Timestamp, Text };

Kind KindOf(SQLSMALLINT sqlType) {
  switch (sqlType) {
    case SQL_BIT: return Kind::Bit;
    case SQL_TINYINT:
    case SQL_SMALLINT:
    case SQL_INTEGER:
    case SQL_BIGINT: return Kind::Integer;
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE: return Kind::Real;
    case SQL_TYPE_DATE:
    case SQL_TYPE_TIME:
    case SQL_TYPE_TIMESTAMP:
    case SQL_DATE:
    case SQL_TIMESTAMP: return Kind::Timestamp;
    default: return Kind::Text;
  }
}

bool IsNullCell(const Variant& v) { return v.IsEmpty() || v.IsNull() || v.IsMissing(); }

SQLBIGINT ToInteger(const Variant& v) {
  const double d = std::nearbyint(CDbl(v));  // rounds half to even
  if (!(d >= -9.2233720368547758e18 && d < 9.2233720368547758e18)) Raise(err::kOverflow);
  return static_cast<SQLBIGINT>(d);
}

SQL_TIMESTAMP_STRUCT ToTimestamp(const Variant& v) {
  const Date d = CDate(v);
  const DateParts p = SplitDate(d);
  SQL_TIMESTAMP_STRUCT t{};
  t.year = static_cast<SQLSMALLINT>(p.year);
  t.month = static_cast<SQLUSMALLINT>(p.month);
  t.day = static_cast<SQLUSMALLINT>(p.day);
  t.hour = static_cast<SQLUSMALLINT>(p.hour);
  t.minute = static_cast<SQLUSMALLINT>(p.minute);
  t.second = static_cast<SQLUSMALLINT>(p.second);
  return t;
}

// The buffers of one column for one batch.
struct ColumnBuffer {
  Kind kind = Kind::Text;
  std::vector<SQLBIGINT> ints;
  std::vector<double> reals;
  std::vector<SQL_TIMESTAMP_STRUCT> stamps;
  std::vector<std::u16string> texts;
  std::vector<SQLWCHAR> packed;  // texts side by side, `width` units each
  size_t width = 1;
  std::vector<SQLLEN> lengths;
};

void Fill(ColumnBuffer& b, const Variant* cell, size_t stride, size_t n) {
  b.lengths.assign(n, 0);
  switch (b.kind) {
    case Kind::Integer:
    case Kind::Bit: b.ints.assign(n, 0); break;
    case Kind::Real: b.reals.assign(n, 0); break;
    case Kind::Timestamp: b.stamps.assign(n, SQL_TIMESTAMP_STRUCT{}); break;
    case Kind::Text: b.texts.assign(n, std::u16string()); break;
  }
  size_t widest = 1;
  for (size_t r = 0; r < n; ++r, cell += stride) {
    const Variant& v = *cell;
    if (IsNullCell(v)) {
      b.lengths[r] = SQL_NULL_DATA;
      continue;
    }
    switch (b.kind) {
      case Kind::Integer: b.ints[r] = ToInteger(v); break;
      case Kind::Bit: b.ints[r] = ToInteger(v) != 0 ? 1 : 0; break;
      case Kind::Real: b.reals[r] = CDbl(v); break;
      case Kind::Timestamp: b.stamps[r] = ToTimestamp(v); break;
      case Kind::Text:
        b.texts[r] = ToWide(v.IsString() ? v.str() : CStr(v));
        b.lengths[r] = static_cast<SQLLEN>(b.texts[r].size() * sizeof(SQLWCHAR));
        widest = std::max(widest, b.texts[r].size());
        break;
    }
  }
  if (b.kind == Kind::Text) {
    b.width = widest + 1;
    b.packed.assign(n * b.width, 0);
    for (size_t r = 0; r < n; ++r) {
      std::copy(b.texts[r].begin(), b.texts[r].end(), b.packed.begin() + static_cast<ptrdiff_t>(r * b.width));
    }
  }
}

// Binds parameter `param` to the column's values from row `row` on (a
// parameter array binds them all; a multi-row statement binds one each).
void Bind(Statement& st, SQLUSMALLINT param, ColumnBuffer& b, const ColumnInfo& col, size_t row = 0) {
  SQLRETURN rc = SQL_SUCCESS;
  const SQLULEN size = col.size ? col.size : 1;
  SQLLEN* length = b.lengths.data() + row;
  switch (b.kind) {
    case Kind::Integer:
    case Kind::Bit:
      rc = SQLBindParameter(st.get(), param, SQL_PARAM_INPUT, SQL_C_SBIGINT, col.sqlType, size, 0,
                            b.ints.data() + row, 0, length);
      break;
    case Kind::Real:
      rc = SQLBindParameter(st.get(), param, SQL_PARAM_INPUT, SQL_C_DOUBLE, col.sqlType, size, col.digits,
                            b.reals.data() + row, 0, length);
      break;
    case Kind::Timestamp:
      rc = SQLBindParameter(st.get(), param, SQL_PARAM_INPUT, SQL_C_TYPE_TIMESTAMP, col.sqlType, size, col.digits,
                            b.stamps.data() + row, sizeof(SQL_TIMESTAMP_STRUCT), length);
      break;
    case Kind::Text:
      rc = SQLBindParameter(st.get(), param, SQL_PARAM_INPUT, SQL_C_WCHAR, col.sqlType,
                            std::max<SQLULEN>(b.width - 1, 1), col.digits, b.packed.data() + row * b.width,
                            static_cast<SQLLEN>(b.width * sizeof(SQLWCHAR)), length);
      break;
  }
  st.Check(rc, "A value could not be bound");
}

// "INSERT INTO t (a, b) VALUES (?, ?), (?, ?), ..." for `rows` rows.
std::string MultiRowInsert(const std::string& head, size_t columns, size_t rows) {
  std::string group = "(";
  for (size_t k = 0; k < columns; ++k) group += k ? ", ?" : "?";
  group += ")";
  std::string sql = head + " VALUES ";
  sql.reserve(sql.size() + rows * (group.size() + 2));
  for (size_t r = 0; r < rows; ++r) {
    if (r) sql += ", ";
    sql += group;
  }
  return sql;
}

// One statement carrying many rows, for drivers that handle a parameter
// array one row at a time: fewer round trips and fewer parses.
void InsertMultiRow(Connection& c, const std::string& head, const std::vector<ColumnInfo>& columns,
                    const SafeArray& a, std::vector<ColumnBuffer>& buffers, size_t rowParameters) {
  const size_t rows = static_cast<size_t>(a.bounds()[0].count());
  const size_t width = static_cast<size_t>(a.bounds()[1].count());
  const size_t batch = std::max<size_t>(1, std::min(kBatchRows, rowParameters / std::max<size_t>(columns.size(), 1)));
  const Variant* data = a.data().data();
  std::unique_ptr<Statement> st;
  size_t prepared = 0;
  for (size_t first = 0; first < rows; first += batch) {
    const size_t n = std::min(batch, rows - first);
    if (!st || prepared != n) {
      st = std::make_unique<Statement>(c);
      st->Prepare(MultiRowInsert(head, columns.size(), n));
      prepared = n;
    }
    for (size_t k = 0; k < columns.size(); ++k) Fill(buffers[k], data + first * width + k, width, n);
    for (size_t r = 0; r < n; ++r) {
      for (size_t k = 0; k < columns.size(); ++k) {
        Bind(*st, static_cast<SQLUSMALLINT>(r * columns.size() + k + 1), buffers[k], columns[k], r);
      }
    }
    st->ExecutePrepared();
  }
}

}  // namespace

void InsertRows(Connection& c, const std::string& head, const std::vector<ColumnInfo>& columns, const SafeArray& a,
                size_t rowParameters) {
  const size_t rows = static_cast<size_t>(a.bounds()[0].count());
  const size_t width = static_cast<size_t>(a.bounds()[1].count());
  std::vector<ColumnBuffer> buffers(columns.size());
  for (size_t k = 0; k < columns.size(); ++k) buffers[k].kind = KindOf(columns[k].sqlType);
  if (rowParameters > 0) {
    InsertMultiRow(c, head, columns, a, buffers, rowParameters);
    return;
  }
  std::string marks;
  for (size_t k = 0; k < columns.size(); ++k) marks += k ? ", ?" : "?";
  Statement st(c);
  st.Prepare(head + " VALUES (" + marks + ")");

  size_t batch = std::min(kBatchRows, rows);
  if (batch > 1 &&
      SQLSetStmtAttr(st.get(), SQL_ATTR_PARAMSET_SIZE, reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(batch)), 0) !=
          SQL_SUCCESS) {
    batch = 1;  // the driver takes one row per call
    SQLSetStmtAttr(st.get(), SQL_ATTR_PARAMSET_SIZE, reinterpret_cast<SQLPOINTER>(SQLULEN{1}), 0);
  }
  std::vector<SQLUSMALLINT> status(batch, SQL_PARAM_UNUSED);
  SQLULEN processed = 0;
  SQLSetStmtAttr(st.get(), SQL_ATTR_PARAM_BIND_TYPE, reinterpret_cast<SQLPOINTER>(SQL_PARAM_BIND_BY_COLUMN), 0);
  SQLSetStmtAttr(st.get(), SQL_ATTR_PARAM_STATUS_PTR, status.data(), 0);
  SQLSetStmtAttr(st.get(), SQL_ATTR_PARAMS_PROCESSED_PTR, &processed, 0);

  const Variant* data = a.data().data();
  for (size_t first = 0; first < rows; first += batch) {
    const size_t n = std::min(batch, rows - first);
    if (n != batch) {
      st.Check(SQLSetStmtAttr(st.get(), SQL_ATTR_PARAMSET_SIZE, reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(n)), 0),
               "The batch size could not be set");
    }
    for (size_t k = 0; k < columns.size(); ++k) {
      Fill(buffers[k], data + first * width + k, width, n);
      Bind(st, static_cast<SQLUSMALLINT>(k + 1), buffers[k], columns[k]);
    }
    std::fill(status.begin(), status.end(), SQL_PARAM_UNUSED);
    processed = 0;
    st.ExecutePrepared();
    for (size_t r = 0; r < n && batch > 1; ++r) {
      if (status[r] == SQL_PARAM_ERROR) {
        throw OdbcError("The database refused row " + std::to_string(first + r + 1) + " of the array", "HY000");
      }
    }
    if (batch > 1 && processed != 0 && processed < n) {
      throw OdbcError("The driver stored only " + std::to_string(processed) + " of " + std::to_string(n) +
                          " rows of a batch",
                      "HY000");
    }
  }
}

}  // namespace vantrove::database

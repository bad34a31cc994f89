// Recordsets into arrays and text files, arrays into recordsets, and
// recordsets fabricated from arrays. The caller's recordset is reached by
// member name, so any object with the recordset members works; our own
// Recordset is read through its typed interface, which gives the same
// result faster.
//
// RecordsetToArray: 1 done, -1 varArray holds no array, -2 a run-time error
// (the recordset's own errors included). RecordsetToTextFile: 1, -1 any
// run-time error. TwoDArrayToRecordset: the number of rows added, -1 not an
// array, -2 a run-time error (rows already added stay).
// CreateRecordsetFromArray: the new recordset, or Nothing.
#include "vantrove/component.hpp"
#include "vantrove/output.hpp"
#include "vantrove/recordset.hpp"

namespace vantrove {

namespace {

// The field names and a way to read the current record's values.
struct RecordsetView {
  ObjectRef rs;
  Recordset* typed = nullptr;
  ObjectRef fields;
  int32_t count = 0;

  explicit RecordsetView(ObjectRef r) : rs(std::move(r)), typed(dynamic_cast<Recordset*>(rs.get())) {
    if (typed) {
      count = typed->FieldCount();
    } else {
      fields = GetProperty(rs, "fields").object();
      count = CLng(GetProperty(fields, "Count"));
    }
  }
  std::string Name(int32_t i) const {
    if (typed) return typed->FieldName(i);
    return CStr(GetProperty(GetProperty(fields, "Item", {Variant(i)}).object(), "name"));
  }
  Variant Value(int32_t i) const {
    if (typed) return typed->Value(i);
    return GetProperty(GetProperty(fields, "Item", {Variant(i)}).object(), "Value");
  }
  bool AtEnd() const { return typed ? typed->IsEOF() : CBool(GetProperty(rs, "EOF")); }
  void MoveFirst() const {
    if (typed) typed->MoveFirst();
    else CallMethod(rs, "MoveFirst");
  }
  void MoveNext() const {
    if (typed) typed->MoveNext();
    else CallMethod(rs, "MoveNext");
  }
  int32_t RecordCount() const { return typed ? static_cast<int32_t>(typed->RecordCount()) : CLng(GetProperty(rs, "RecordCount")); }
};

ObjectRef AsObject(const Variant& v) {
  if (v.IsObject()) return v.object();
  Raise(err::kObjectRequired, "A recordset object is needed, not a " + v.TypeName());
}

// A field's text in a line: Null gives "".
std::string FieldText(const Variant& v) { return v.IsNull() ? std::string() : CStr(v); }

bool B(const Variant& v) { return v.IsMissing() || v.IsEmpty() ? false : CBool(v); }
std::string S(const Variant& v) { return v.IsMissing() || v.IsEmpty() ? std::string() : CStr(v); }

}  // namespace

int16_t clsVantrove::RecordsetToArray(const ObjectRef& objRecd, Variant& varArray, bool blnIncludeHeadings) {
  if (!varArray.IsArray()) return -1;
  try {
    if (!objRecd) Raise(err::kObjectNotSet);
    RecordsetView r(objRecd);
    r.MoveFirst();
    const int32_t records = r.RecordCount();
    const int32_t first = blnIncludeHeadings ? 1 : 0;
    SafeArray a({Bounds{0, records - 1 + first}, Bounds{0, r.count - 1}});
    if (blnIncludeHeadings) {
      for (int32_t i = 0; i < r.count; ++i) a.at(0, i) = Variant(r.Name(i));
    }
    for (int32_t row = first; !r.AtEnd(); ++row) {
      for (int32_t i = 0; i < r.count; ++i) a.at(row, i) = r.Value(i);
      r.MoveNext();
    }
    varArray = Variant(std::move(a));
    r.MoveFirst();
    return 1;
  } catch (...) {
    return -2;
  }
}

int16_t clsVantrove::Web_RecordsetToArray(const Variant& objRecd, Variant& varArray, const Variant& blnIncludeHeadings) {
  if (!varArray.IsArray()) return -1;
  try {
    return RecordsetToArray(AsObject(objRecd), varArray, B(blnIncludeHeadings));
  } catch (...) {
    return -2;
  }
}

int16_t clsVantrove::RecordsetToTextFile(const ObjectRef& objRecd, const std::string& strTextFile,
                                         bool blnIncludeHeadings, std::string strDelimiter, bool blnQuotes) {
  try {
    if (!objRecd) Raise(err::kObjectNotSet);
    RecordsetView r(objRecd);
    OutputFile file(strTextFile);
    clsConcat line;
    auto write = [&](auto&& text) {
      line.ReInit();
      for (int32_t i = 0; i < r.count; ++i) {
        if (i) line.SConcat(strDelimiter);
        if (blnQuotes) line.SConcat("\"");
        line.SConcat(text(i));
        if (blnQuotes) line.SConcat("\"");
      }
      file.Write(line.GetString() + "\r\n");
    };
    if (blnIncludeHeadings) write([&](int32_t i) { return r.Name(i); });
    r.MoveFirst();
    while (!r.AtEnd()) {
      write([&](int32_t i) { return FieldText(r.Value(i)); });
      r.MoveNext();
    }
    file.Commit();
    return 1;
  } catch (...) {
    return -1;
  }
}

int16_t clsVantrove::Web_RecordsetToTextFile(const Variant& objRecd, const Variant& strTextFile,
                                             const Variant& blnIncludeHeadings, Variant strDelimiter,
                                             const Variant& blnQuotes) {
  try {
    return RecordsetToTextFile(AsObject(objRecd), S(strTextFile), B(blnIncludeHeadings), S(strDelimiter),
                               B(blnQuotes));
  } catch (...) {
    return -1;
  }
}

int32_t clsVantrove::TwoDArrayToRecordset(const Variant& varArray, const ObjectRef& objRecd) {
  if (!varArray.IsArray()) return -1;
  int32_t added = 0;
  try {
    if (!objRecd) Raise(err::kObjectNotSet);
    const SafeArray& a = varArray.array();
    const int32_t r0 = a.LBound(1), r1 = a.UBound(1), c0 = a.LBound(2), c1 = a.UBound(2);
    Recordset* typed = dynamic_cast<Recordset*>(objRecd.get());
    ObjectRef fields = typed ? nullptr : GetProperty(objRecd, "fields").object();
    for (int32_t row = r0; row <= r1; ++row) {
      if (typed) typed->AddNew();
      else CallMethod(objRecd, "AddNew");
      int32_t k = 0;
      for (int32_t col = c0; col <= c1; ++col, ++k) {
        if (typed) typed->SetValue(typed->ResolveField(Variant(k)), a.at(row, col));
        else SetProperty(GetProperty(fields, "Item", {Variant(k)}).object(), "Value", a.at(row, col));
      }
      if (typed) typed->Update();
      else CallMethod(objRecd, "Update");
      ++added;
    }
    return added;
  } catch (...) {
    return -2;
  }
}

int32_t clsVantrove::Web_TwoDArrayToRecordset(const Variant& varArray, const Variant& objRecd) {
  if (!varArray.IsArray()) return -1;
  try {
    return TwoDArrayToRecordset(varArray, AsObject(objRecd));
  } catch (...) {
    return -2;
  }
}

ObjectRef clsVantrove::CreateRecordsetFromArray(const Variant& varArray, const std::string& strFilter) {
  if (!varArray.IsArray()) return nullptr;
  try {
    const SafeArray& a = varArray.array();
    const int32_t last = a.UBound(1), c0 = a.LBound(2), c1 = a.UBound(2);
    std::vector<int32_t> width(static_cast<size_t>(c1 - c0 + 1), 1);
    for (int32_t row = 1; row <= last; ++row) {
      for (int32_t col = c0; col <= c1; ++col) {
        const Variant& v = a.at(row, col);
        if (v.IsNull()) continue;
        width[static_cast<size_t>(col - c0)] = std::max(width[static_cast<size_t>(col - c0)], static_cast<int32_t>(Len(CStr(v))));
      }
    }
    RecordsetRef rs = Recordset::Create();
    for (int32_t col = c0; col <= c1; ++col) {
      rs->AppendField(CStr(a.at(0, col)), adtype::kVarChar, width[static_cast<size_t>(col - c0)], -1);
    }
    rs->Open();
    std::vector<Variant> positions;
    for (int32_t k = 0; k <= c1 - c0; ++k) positions.emplace_back(k);
    const Variant fieldList{SafeArray::Vector(positions)};
    for (int32_t row = 1; row <= last; ++row) {
      std::vector<Variant> values;
      for (int32_t col = c0; col <= c1; ++col) values.push_back(a.at(row, col));
      rs->AddNew(fieldList, Variant(SafeArray::Vector(std::move(values))));
    }
    if (rs->RecordCount() > 0 && !Trim(strFilter).empty()) rs->SetFilter(Variant(strFilter));
    rs->MoveFirst();
    return rs;
  } catch (...) {
    return nullptr;
  }
}

}  // namespace vantrove

// Lists, list views, dictionaries and collections to and from arrays.
#include <optional>
#include <set>

#include "adapter_support.hpp"
#include "adapters.hpp"

namespace vantrove::adapters {

using namespace support;

namespace {

// Items 0 .. ListCount - 1 of `list`, those that `keep` accepts.
template <class Keep>
int16_t ReadList(ListControl& list, Variant& varArray, Keep&& keep) {
  return Trapped([&]() -> int16_t {
    std::vector<Variant> items;
    const int32_t n = list.ListCount();
    for (int32_t i = 0; i < n; ++i) {
      if (keep(i)) items.emplace_back(list.List(i));
    }
    varArray = Variant(SafeArray::Vector(std::move(items)));
    return 1;
  });
}

template <class T>
int16_t ReadAll(const ObjectRef& obj, Variant& varArray) {
  T* list = As<T>(obj);
  if (list == nullptr) return -1;
  if (!varArray.IsArray()) return -2;
  return ReadList(*list, varArray, [](int32_t) { return true; });
}

template <class T>
int16_t ReadSelectable(const ObjectRef& obj, Variant& varArray, bool selectedOnly) {
  T* list = As<T>(obj);
  if (list == nullptr) return -1;
  if (!varArray.IsArray()) return -2;
  return ReadList(*list, varArray, [&](int32_t i) { return !selectedOnly || list->Selected(i); });
}

// The text an element of varSelectItems is compared as; none for Null and
// values without text, which select nothing.
std::optional<std::string> SelectText(const Variant& v) {
  if (v.IsNull() || v.IsObject() || v.IsArray()) return std::nullopt;
  try {
    return CStr(v);
  } catch (const RuntimeError&) {
    return std::nullopt;
  }
}

void SelectItems(ListView& view, const Variant& varSelectItems) {
  std::vector<std::string> wanted;
  if (varSelectItems.IsArray()) {
    const SafeArray& a = varSelectItems.array();
    if (a.element_type() != VarType::Variant) return;  // only an array of variants names items
    for (const Variant& v : a.data()) {
      if (auto t = SelectText(v)) wanted.push_back(std::move(*t));
    }
  } else if (varSelectItems.IsString()) {
    wanted.push_back(varSelectItems.str());
  }
  if (wanted.empty()) return;
  const int32_t n = view.ListItemCount();
  for (int32_t i = 1; i <= n; ++i) {
    const std::string text = view.ListItemText(i);
    for (const std::string& w : wanted) {
      if (StrComp(text, w, CompareMode::Text) == 0) {
        view.SetListItemSelected(i, true);
        break;
      }
    }
  }
}

// Key and item of one row for the dictionary and collection writers.
struct KeyedRow {
  std::string key;
  Variant item;
};

std::vector<KeyedRow> KeyedRows(const SafeArray& a) {
  const Bounds rows = a.bounds()[0], cols = a.bounds()[1];
  std::vector<KeyedRow> out;
  out.reserve(static_cast<size_t>(rows.count()));
  for (int32_t r = rows.lower; r <= rows.upper; ++r) {
    KeyedRow row;
    if (cols.count() == 0) Raise(err::kSubscript);
    row.key = CStr(a.at(r, cols.lower));
    if (cols.count() == 2) {
      row.item = a.at(r, cols.upper);
    } else if (cols.count() > 2) {
      std::vector<Variant> rest;
      for (int32_t c = cols.lower + 1; c <= cols.upper; ++c) rest.push_back(a.at(r, c));
      row.item = Variant(SafeArray::Vector(std::move(rest)));
    }
    out.push_back(std::move(row));
  }
  return out;
}

}  // namespace

int16_t ListBoxToOneDArray(const ObjectRef& lb, Variant& varArray, bool blnSelectedOnly) {
  return ReadSelectable<ListBox>(lb, varArray, blnSelectedOnly);
}

int16_t FileListBoxToOneDArray(const ObjectRef& flb, Variant& varArray, bool blnSelectedOnly) {
  return ReadSelectable<FileListBox>(flb, varArray, blnSelectedOnly);
}

int16_t ComboBoxToOneDArray(const ObjectRef& cb, Variant& varArray) { return ReadAll<ComboBox>(cb, varArray); }
int16_t DirListBoxToOneDArray(const ObjectRef& dlb, Variant& varArray) { return ReadAll<DirListBox>(dlb, varArray); }
int16_t DriveListBoxToOneDArray(const ObjectRef& dlb, Variant& varArray) {
  return ReadAll<DriveListBox>(dlb, varArray);
}

int16_t ListViewToArray(const ObjectRef& lv, Variant& varArray, bool blnSelectedOnly, bool blnIncludeHeadings) {
  if (!varArray.IsArray()) return -1;
  ListView* view = As<ListView>(lv);
  if (view == nullptr) return -2;
  return Trapped([&]() -> int16_t {
    const int32_t items = view->ListItemCount();
    int64_t count = 0;
    for (int32_t i = 1; i <= items; ++i) count += !blnSelectedOnly || view->ListItemSelected(i);
    const int32_t headers = view->ColumnHeaderCount();
    const int32_t cols = std::max(headers, 1);
    const int32_t first = blnIncludeHeadings ? 1 : 0;
    SafeArray out = Matrix(count + first, cols);
    if (blnIncludeHeadings) {
      for (int32_t c = 1; c <= headers; ++c) out.at(0, c - 1) = Variant(view->ColumnHeaderText(c));
    }
    int32_t row = first;
    for (int32_t i = 1; i <= items; ++i) {
      if (blnSelectedOnly && !view->ListItemSelected(i)) continue;
      out.at(row, 0) = Variant(view->ListItemText(i));
      for (int32_t j = 1; j < cols; ++j) out.at(row, j) = Variant(view->ListSubItem(i, j));
      ++row;
    }
    varArray = Variant(std::move(out));
    return 1;
  });
}

int16_t TwoDArrayToListView(const Variant& varArray, const ObjectRef& lv, const Variant& varSelectItems) {
  if (!varArray.IsArray()) return -1;
  ListView* view = As<ListView>(lv);
  if (view == nullptr) return -2;
  const SafeArray& a = varArray.array();
  if (a.dims() != 2) return -3;
  return Trapped([&]() -> int16_t {
    const Bounds rows = a.bounds()[0], cols = a.bounds()[1];
    // Column 0 is the item's text whatever the array's lower bound; the
    // sub-items are the columns after the lower bound.
    if (rows.count() > 0 && (cols.lower > 0 || cols.upper < 0)) Raise(err::kSubscript);
    const std::vector<std::string> cells = CellTexts(a);
    const auto cell = [&](int64_t r, int64_t c) -> const std::string& {
      return cells[static_cast<size_t>((r - rows.lower) * cols.count() + (c - cols.lower))];
    };
    for (int32_t r = rows.lower; r <= rows.upper; ++r) {
      const int32_t item = view->AddListItem(cell(r, 0));
      int32_t k = 1;
      for (int64_t c = int64_t{cols.lower} + 1; c <= cols.upper; ++c) view->SetListSubItem(item, k++, cell(r, c));
    }
    view->SetFocus();
    if (view->ListItemCount() >= 1) view->SetListItemSelected(1, false);
    SelectItems(*view, varSelectItems);
    return 1;
  });
}

int16_t DictionaryToArray(const ObjectRef& dt, Variant& varArray, bool blnIncludeKeys) {
  if (!varArray.IsArray()) return -1;
  Dictionary* d = As<Dictionary>(dt);
  if (d == nullptr) return -2;
  return Trapped([&]() -> int16_t {
    const Variant items = d->Items();
    if (!blnIncludeKeys) {
      varArray = items;
      return 1;
    }
    const Variant keys = d->Keys();
    const int32_t n = d->Count();
    SafeArray out = Matrix(n, 2);
    for (int32_t i = 0; i < n; ++i) {
      out.at(i, 0) = keys.array().at(i);
      out.at(i, 1) = items.array().at(i);
    }
    varArray = Variant(std::move(out));
    return 1;
  });
}

int16_t TwoDArrayToDictionary(const Variant& varArray, const ObjectRef& dt) {
  if (!varArray.IsArray()) return -1;
  Dictionary* d = As<Dictionary>(dt);
  if (d == nullptr) return -2;
  if (varArray.array().dims() != 2) return -3;
  return Trapped([&]() -> int16_t {
    const std::vector<KeyedRow> rows = KeyedRows(varArray.array());
    // Try the keys on a scratch dictionary first: a duplicate leaves the
    // caller's dictionary untouched.
    Dictionary scratch;
    scratch.set_compare_mode(d->compare_mode());
    for (const KeyedRow& row : rows) {
      if (d->Exists(Variant(row.key))) Raise(Dictionary::kDuplicateKey);
      scratch.Add(Variant(row.key), Variant());
    }
    for (const KeyedRow& row : rows) d->Add(Variant(row.key), row.item);
    return 1;
  });
}

int16_t TwoDArrayToCollection(const Variant& varArray, const ObjectRef& cl) {
  if (!varArray.IsArray()) return -1;
  Collection* c = As<Collection>(cl);
  if (c == nullptr) return -2;
  const SafeArray& a = varArray.array();
  if (a.dims() != 2) return -3;
  return Trapped([&]() -> int16_t {
    if (a.bounds()[1].count() == 1) {
      for (int32_t r = a.LBound(1); r <= a.UBound(1); ++r) c->Add(a.at(r, a.LBound(2)));
      return 1;
    }
    const std::vector<KeyedRow> rows = KeyedRows(a);
    std::set<std::string> keys;
    for (const KeyedRow& row : rows) {
      if (row.key.empty()) continue;
      const std::string folded = FoldCase(row.key);
      if (c->HasKey(row.key) || !keys.insert(folded).second) Raise(Collection::kDuplicateKey);
    }
    for (const KeyedRow& row : rows) {
      c->Add(row.item, row.key.empty() ? Variant::Missing() : Variant(row.key));
    }
    return 1;
  });
}

}  // namespace vantrove::adapters

// Fuzz entry for the JSON request reader: any bytes as one request line of
// `vantrove rpc`. The answer must be one line of valid JSON carrying either
// "result" or "error", and the session must go on answering. Only methods
// that work on values in memory run; the others are refused before the
// call, so generated requests cannot touch files, servers or the clipboard.

#include <cstdint>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "session.hpp"

namespace {

using vantrove::Variant;

bool Harmless(std::string_view method, const std::vector<Variant>& args) {
  static const std::set<std::string_view> kMethods = {
      "Version",           "TwoDArrayToText",       "Web_TwoDArrayToText",   "OneDArrayToText",
      "TwoDArrayToHTMLTable", "Web_TwoDArrayToHTMLTable", "OneDArrayToHTMLTable", "MultiLineTextToOneDArray",
      "SortOneDArray",     "SortTwoDArray",         "Web_SortTwoDArray",     "TwoDArrayToDictionary",
      "TwoDArrayToCollection", "DictionaryToArray", "CreateRecordsetFromArray", "TwoDArrayToRecordset",
      "Web_TwoDArrayToRecordset", "RecordsetToArray", "Web_RecordsetToArray", "$classes",
      "$create",           "$release"};
  // Members of in-memory objects; a recordset's Open or Save would reach files.
  static const std::set<std::string_view> kMembers = {"Add",   "Item",     "Count",  "Exists", "Keys",
                                                      "Items", "Remove",   "RemoveAll", "Fields", "RecordCount",
                                                      "EOF",   "BOF",      "MoveNext", "MoveFirst", "Value",
                                                      "Name",  "Filter",   "Sort"};
  // Classes that hold values only (the list boxes of folders and drives read the disk).
  static const std::set<std::string_view> kClasses = {"Dictionary", "Scripting.Dictionary", "Collection",
                                                      "Recordset",  "ADODB.Recordset",      "TextBox",
                                                      "ListBox",    "ComboBox"};
  if (method == "$create") return args.size() == 1 && args[0].IsString() && kClasses.count(args[0].str()) > 0;
  if (method == "$call" || method == "$get" || method == "$set") {
    return args.size() >= 2 && args[1].IsString() && kMembers.count(args[1].str()) > 0;
  }
  return kMethods.count(method) > 0;
}

vantrove::cli::Session& FuzzSession() {
  static vantrove::cli::Session* session = [] {
    auto* s = new vantrove::cli::Session();
    s->Restrict(Harmless);
    return s;
  }();
  return *session;
}

}  // namespace

namespace vantrove::fuzz {
bool lastInputAnswered = false;
}  // namespace vantrove::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The reader hands the session a line with the parser's padding after it.
  std::string line(reinterpret_cast<const char*>(data), size);
  if (line.find('\n') != std::string::npos) line.resize(line.find('\n'));
  const size_t length = line.size();
  line.append(simdjson::SIMDJSON_PADDING, '\0');
  vantrove::cli::Session& session = FuzzSession();
  const vantrove::cli::Answer answer = session.Handle(std::string_view(line.data(), length));

  if (answer.text.find('\n') != std::string::npos) __builtin_trap();
  static simdjson::dom::parser check;
  simdjson::dom::element doc;
  if (check.parse(answer.text).get(doc) != simdjson::SUCCESS) __builtin_trap();
  simdjson::dom::object o;
  if (doc.get_object().get(o) != simdjson::SUCCESS) __builtin_trap();
  const bool hasResult = o["result"].error() == simdjson::SUCCESS;
  const bool hasError = o["error"].error() == simdjson::SUCCESS;
  if (hasResult == hasError || hasError != answer.failed) __builtin_trap();
  vantrove::fuzz::lastInputAnswered = !answer.failed;
  return 0;
}

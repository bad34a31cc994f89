#include "interface_listing.hpp"

#include <cctype>
#include <cstdio>
#include <iostream>
#include <nlohmann/json.hpp>

#include "json_variant.hpp"
#include "vantrove/component.hpp"

namespace vantrove::cli {

namespace {

using nlohmann::json;

std::string Dump(const json& j) { return j.dump(-1, ' ', false, json::error_handler_t::replace); }

json ParamJson(const ParamInfo& p) {
  json j{{"name", p.name}, {"type", p.type.name}, {"byref", p.byRef}, {"optional", p.optional}};
  if (p.paramArray) j["paramarray"] = true;
  if (p.declaredDefault) {
    ObjectTable none;
    j["default"] = json::parse(ToJsonText(*p.declaredDefault, none));
  }
  return j;
}

std::string Dispid(const MethodInfo& m) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(m.dispid));
  return text;
}

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

// A name that holds the other, ignoring case: OpenDrawing for "open".
bool Close(const std::string& a, const std::string& b) {
  const std::string x = Lower(a), y = Lower(b);
  return x.find(y) != std::string::npos || y.find(x) != std::string::npos;
}

bool StartsWith(const std::string& name, std::string_view prefix) {
  const std::string_view base = std::string_view(name).substr(name.rfind("Web_", 0) == 0 ? 4 : 0);
  return base.substr(0, prefix.size()) == prefix;
}

// What a method's result means, by the conventions of its family.
std::string ResultMeaning(const MethodInfo& m) {
  const std::string& r = m.result.name;
  if (m.result.kind == TypeKind::None) return "nothing (a Sub)";
  if (m.name == "Version") return "the version as \"major.minor.revision\"";
  if (m.name == "FileExists") return "True when the file, folder or a name matching the wildcards exists";
  if (r == "String") {
    std::string s = "\"OK\" when done, else the drawing engine's status text \"NNNN:message\" "
                    "(codes in docs/drawing-engine.md; 1001-1099 are done with a note)";
    if (StartsWith(m.name, "OpenDrawing")) {
      s += "; \"File not found\" or \"Invalid file type - must be DWG or DXF\" before the engine is asked";
    }
    return s;
  }
  if (StartsWith(m.name, "FindAnd")) {
    return "the number of objects changed (0 or more); -1 the drawing's description could not be written, "
           "-2 the search failed (no drawing open, a bad filter, an error on the way)";
  }
  if (r == "Long") return "a count (0 or more) when done, a negative number when it failed";
  if (r == "Integer") {
    return "1 when done; 0 or a negative number when it failed (each area's codes: docs/extract.md, "
           "docs/database.md, docs/office.md, docs/controls.md)";
  }
  if (r == "Variant") return "the list asked for as an array (empty when there is none)";
  if (r == "Object") return "the object made, or Nothing when it could not be made";
  return r;
}

std::string DefaultText(const ParamInfo& p) {
  if (!p.declaredDefault) return "";
  ObjectTable none;
  return ToJsonText(*p.declaredDefault, none);
}

}  // namespace

int ListMethods(bool asJson) {
  json all = json::array();
  for (const MethodInfo& m : InterfaceMethods()) {
    const bool available = clsVantrove::IsImplemented(m.position);
    if (asJson) {
      json params = json::array();
      for (const ParamInfo& p : m.params) params.push_back(ParamJson(p));
      all.push_back({{"position", m.position},
                     {"dispid", Dispid(m)},
                     {"name", m.name},
                     {"returns", m.result.name},
                     {"params", params},
                     {"help", m.help},
                     {"available", available}});
    } else {
      std::printf("%3d  %s  %-8s %s%s\n", m.position, Dispid(m).c_str(),
                  m.result.kind == TypeKind::None ? "-" : m.result.name.c_str(), m.Signature().c_str(),
                  available ? "" : "  [not available in this build]");
    }
  }
  if (asJson) std::cout << Dump(all) << '\n';
  return 0;
}

int ShowMethod(const std::string& name, bool asJson) {
  const MethodInfo* m = FindMethod(name);
  if (m == nullptr) {
    std::cerr << "vantrove methods: no method is named " << name;
    std::string close;
    for (const MethodInfo& other : InterfaceMethods()) {
      if (Close(other.name, name)) close += (close.empty() ? "" : ", ") + other.name;
    }
    std::cerr << (close.empty() ? std::string(" (vantrove methods lists them all)") : "; close: " + close) << '\n';
    return 2;
  }
  const bool available = clsVantrove::IsImplemented(m->position);
  if (asJson) {
    json params = json::array();
    for (const ParamInfo& p : m->params) params.push_back(ParamJson(p));
    std::cout << Dump({{"position", m->position},
                       {"dispid", Dispid(*m)},
                       {"name", m->name},
                       {"returns", m->result.name},
                       {"params", params},
                       {"help", m->help},
                       {"result", ResultMeaning(*m)},
                       {"available", available}})
              << '\n';
    return 0;
  }
  std::printf("%s\n\n", m->Declaration().c_str());
  std::printf("Position %d, DISPID %s%s\n", m->position, Dispid(*m).c_str(),
              available ? "" : ", not available in this build (calls answer error 445)");
  if (!m->help.empty()) std::printf("%s\n", m->help.c_str());
  std::printf("\nParameters:%s\n", m->params.empty() ? " none" : "");
  for (const ParamInfo& p : m->params) {
    std::string how = p.paramArray ? "any number of values" : (p.byRef ? "by reference" : "by value");
    how += p.optional ? ", optional" : (p.paramArray ? "" : ", required");
    if (p.declaredDefault) how += ", default " + DefaultText(p);
    std::printf("  %-28s %-22s %s\n", p.name.c_str(), p.type.name.c_str(), how.c_str());
  }
  std::printf("\nResult (%s): %s\n", m->result.kind == TypeKind::None ? "none" : m->result.name.c_str(),
              ResultMeaning(*m).c_str());
  return 0;
}

int ListEnums(bool asJson) {
  json all = json::array();
  for (const EnumInfo& e : Enumerations()) {
    if (asJson) {
      json constants = json::array();
      for (const EnumConstant& c : e.constants) constants.push_back({{"name", c.name}, {"value", c.value}});
      all.push_back({{"name", e.name}, {"constants", constants}});
    } else {
      std::printf("Enum %s\n", std::string(e.name).c_str());
      for (const EnumConstant& c : e.constants) std::printf("  %s = %d\n", std::string(c.name).c_str(), c.value);
    }
  }
  if (asJson) std::cout << Dump(all) << '\n';
  return 0;
}

}  // namespace vantrove::cli

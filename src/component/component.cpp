// clsVantrove's frame: construction and destruction, Version, FileExists,
// the special folders, message boxes and late binding.
#include "vantrove/component.hpp"

#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>

#include <cstdlib>
#include <iostream>
#include <mutex>

#include "boundary.hpp"
#include "member.hpp"
#include "vantrove/engine/component.hpp"

#ifndef VANTROVE_VERSION_MAJOR
#error "the build defines the version record"
#endif

namespace vantrove {

// ---- Message boxes ---------------------------------------------------------

namespace {

class StderrSink : public MessageSink {
 public:
  void Show(std::string_view title, std::string_view text, int) override {
    std::string line;
    for (char c : text) {
      if (c == '\r') continue;
      line += c == '\n' ? ' ' : c;
    }
    std::cerr << "vantrove: " << title << ": " << line << '\n';
  }
};

std::mutex g_hostMutex;
std::shared_ptr<MessageSink> g_sink;
ComponentEnvironment g_env;

ComponentEnvironment Environment() {
  std::lock_guard lock(g_hostMutex);
  return g_env;
}

}  // namespace

void SetMessageSink(std::shared_ptr<MessageSink> sink) {
  std::lock_guard lock(g_hostMutex);
  g_sink = std::move(sink);
}

MessageSink& CurrentMessageSink() {
  static StderrSink fallback;
  std::lock_guard lock(g_hostMutex);
  return g_sink ? *g_sink : fallback;
}

void SetComponentEnvironment(ComponentEnvironment env) {
  std::lock_guard lock(g_hostMutex);
  g_env = std::move(env);
}

void ResetComponentEnvironment() { SetComponentEnvironment({}); }

// ---- Small helpers -----------------------------------------------------------

std::string StripAtNull(std::string_view text) {
  const size_t nul = text.find('\0');
  return std::string(nul == std::string_view::npos ? text : text.substr(0, nul));
}

std::string FormatVersionRecord(int major, int minor, int build, int revision) {
  (void)build;  // the third number of the record is not reported
  return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(revision);
}

std::string ComponentFileName() {
  const std::string module = engine::ModuleFile();
  const size_t slash = module.find_last_of('/');
  return module.empty() ? "libvantrove-engine.so" : module.substr(slash == std::string::npos ? 0 : slash + 1);
}

namespace {

std::string EnvOr(const char* name, const std::string& fallback) {
  const char* v = std::getenv(name);
  return v && *v ? std::string(v) : fallback;
}

std::string Home() { return EnvOr("HOME", ""); }

std::string UnderHome(const char* sub) {
  const std::string home = Home();
  return home.empty() ? std::string() : home + "/" + sub;
}

}  // namespace

std::string GetSpecialFolderPath(int32_t csidl) {
  switch (csidl) {
    case 37:    // system folder: where the drawing engine module lives
    case 41: {  // the 32-bit system folder: the same on Linux
      if (auto env = Environment(); env.systemFolder) return *env.systemFolder;
      const std::string module = engine::ModuleFile();
      const size_t slash = module.find_last_of('/');
      return slash == std::string::npos ? std::string() : module.substr(0, slash == 0 ? 1 : slash);
    }
    case 0x10:  // desktop directory
    case 0: return UnderHome("Desktop");
    case 5: return UnderHome("Documents");  // personal documents
    case 13: return UnderHome("Music");
    case 14: return UnderHome("Videos");
    case 21: return UnderHome("Templates");
    case 39: return UnderHome("Pictures");
    case 40: return Home();  // the user's profile
    case 26: return EnvOr("XDG_CONFIG_HOME", UnderHome(".config"));       // roaming application data
    case 28: return EnvOr("XDG_DATA_HOME", UnderHome(".local/share"));    // local application data
    case 35: return "/usr/local/share";                                   // common application data
    case 38: return "/opt";                                               // program files
    default: return {};
  }
}

// ---- FileExists ------------------------------------------------------------

namespace {

bool IsHiddenName(std::string_view name) { return !name.empty() && name[0] == '.' && name != "." && name != ".."; }

bool HasWildcard(std::string_view s) { return s.find_first_of("*?") != std::string_view::npos; }

// Windows listings let "*.*" match every name and "x.*" match "x" too.
bool MatchesPattern(const std::string& pattern, const char* name) {
  if (fnmatch(pattern.c_str(), name, 0) == 0) return true;
  if (pattern.size() >= 2 && pattern.compare(pattern.size() - 2, 2, ".*") == 0) {
    return fnmatch(pattern.substr(0, pattern.size() - 2).c_str(), name, 0) == 0;
  }
  return false;
}

// True when a listing of `path` (folders included, hidden names excluded)
// yields at least one name.
bool ListingFindsSomething(std::string path) {
  if (path.empty() || path.find('\0') != std::string::npos) return false;
  for (char& c : path) {
    if (c == '\\') c = '/';
  }
  const size_t slash = path.find_last_of('/');
  const std::string folder = slash == std::string::npos ? "." : (slash == 0 ? "/" : path.substr(0, slash));
  const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  if (HasWildcard(folder)) return false;  // wildcards only in the last part
  struct stat st {};
  if (name.empty()) return stat(folder.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
  if (!HasWildcard(name)) return !IsHiddenName(name) && stat(path.c_str(), &st) == 0;
  DIR* dir = opendir(folder.c_str());
  if (dir == nullptr) return false;
  bool found = false;
  while (const dirent* entry = readdir(dir)) {
    if (entry->d_name[0] == '.') continue;  // hidden names, "." and ".."
    if (MatchesPattern(name, entry->d_name)) {
      found = true;
      break;
    }
  }
  closedir(dir);
  return found;
}

}  // namespace

bool clsVantrove::FileExists(Variant& strFile) {
  return detail::Trapped(false, [&]() -> bool {
    return ListingFindsSomething(CStr(strFile));
  });
}

std::string clsVantrove::Version() {
  return FormatVersionRecord(VANTROVE_VERSION_MAJOR, VANTROVE_VERSION_MINOR, VANTROVE_VERSION_BUILD,
                             VANTROVE_VERSION_REVISION);
}

// ---- Construction and destruction ----------------------------------------------

clsVantrove::clsVantrove() {
  // Every step is guarded on its own: construction never fails towards the
  // host, and the object stays usable for what needs no component.
  const ComponentEnvironment env = Environment();
  std::string folder;
  try {
    folder = GetSpecialFolderPath(37);
  } catch (...) {
  }
  bool present = false;
  try {
    Variant path(folder + "/" + ComponentFileName());
    present = FileExists(path);
  } catch (...) {
  }
  if (!present) {
    componentMissing_ = true;
    CurrentMessageSink().Show("Missing DLL File",
                              "File " + folder +
                                  "\\DToolsXDWG2007.DLL not found. This file must exist in Windows System32 folder. "
                                  "Please reinstall Vantrove DLL.",
                              kExclamationStyle);
  }
  try {
    component_ = env.factory ? env.factory() : std::make_unique<engine::DrawingComponent>();
    if (!component_) Raise(err::kCannotCreateObject);
  } catch (const RuntimeError& e) {
    component_.reset();
    CurrentMessageSink().Show("Error",
                              "Unable to create instance of DToolsX-DWG.\r\n" + std::to_string(e.number()) + " : " +
                                  e.description(),
                              kExclamationStyle);
  } catch (const std::exception& e) {
    component_.reset();
    CurrentMessageSink().Show(
        "Error", "Unable to create instance of DToolsX-DWG.\r\n" + std::to_string(err::kCannotCreateObject) + " : " + e.what(),
        kExclamationStyle);
  }
}

clsVantrove::~clsVantrove() {
  try {
    if (drawingOpen_) CloseDrawing();
  } catch (...) {
  }
}

// ---- Late binding ------------------------------------------------------------------

namespace detail {

ObjectRef ObjectArg(const Variant& a) {
  if (a.IsObject()) return a.object();
  if (a.IsEmpty() || a.IsMissing()) return nullptr;
  Raise(err::kTypeMismatch);
}

}  // namespace detail

bool clsVantrove::IsImplemented(int position) {
  if (position < 0 || position >= kMethodCount) return false;
  return detail::MembersByPosition()[static_cast<size_t>(position)]->invoke != nullptr;
}

namespace {

InvokeResult Failure(int32_t number, std::string description) {
  InvokeResult r;
  r.error = number;
  r.description = description.empty() ? std::string(ErrorDescription(number)) : std::move(description);
  return r;
}

}  // namespace

InvokeResult clsVantrove::Invoke(int32_t dispid, std::vector<Variant>& args) noexcept {
  try {
    const MethodInfo* m = FindMethod(dispid);
    if (m == nullptr) return Failure(err::kNoSuchMember, "No method has the dispatch identifier " + std::to_string(dispid));
    return Invoke(m->name, args);
  } catch (...) {
    return Failure(err::kOutOfMemory, {});
  }
}

InvokeResult clsVantrove::Invoke(std::string_view name, std::vector<Variant>& args) noexcept {
  try {
    const MethodInfo* m = FindMethod(name);
    if (m == nullptr) {
      return Failure(err::kNoSuchMember, "Object doesn't support this property or method: " + std::string(name));
    }
    const detail::Invoker fn = detail::MembersByPosition()[static_cast<size_t>(m->position)]->invoke;
    if (fn == nullptr) {
      return Failure(err::kActionNotSupported,
                     "Object doesn't support this action: " + m->name + " is not available in this build");
    }
    const bool hasParamArray = !m->params.empty() && m->params.back().paramArray;
    const size_t fixed = m->params.size() - (hasParamArray ? 1 : 0);
    if (!hasParamArray && args.size() > m->params.size()) {
      return Failure(err::kWrongArgumentCount, m->name + " takes at most " + std::to_string(m->params.size()) +
                                                   " arguments, not " + std::to_string(args.size()));
    }
    // The caller's arguments are moved in and back, never copied: a large
    // array passed to a method costs nothing on the way. Members can change
    // only the parameters declared by reference (checked while compiling),
    // so moving the by-value ones back returns them as they were given.
    // Values of a trailing ParamArray are copies the member may use freely.
    for (size_t i = 0; i < fixed; ++i) {
      const bool given = i < args.size() && !args[i].IsMissing();
      if (!given && !m->params[i].optional) {
        return Failure(err::kArgumentNotOptional, "Argument not optional: " + m->params[i].name + " of " + m->name);
      }
    }
    std::vector<Variant> work;
    std::vector<bool> given(fixed);
    work.reserve(std::max(args.size(), m->params.size()));
    for (size_t i = 0; i < fixed; ++i) {
      given[i] = i < args.size() && !args[i].IsMissing();
      if (given[i]) work.push_back(std::move(args[i]));
      else work.push_back(OmittedValue(m->params[i]));
    }
    for (size_t i = fixed; i < args.size(); ++i) work.push_back(args[i]);
    // Puts the moved arguments back: by-reference ones as the member left
    // them, by-value ones unchanged. An omitted by-reference argument
    // receives what the member left in its place, and only when it succeeded.
    const auto giveBack = [&](bool succeeded) {
      for (size_t i = 0; i < fixed && i < args.size(); ++i) {
        if (given[i] || (succeeded && m->params[i].byRef)) args[i] = std::move(work[i]);
      }
    };
    InvokeResult r;
    try {
      r.value = fn(*this, work);
    } catch (...) {
      giveBack(false);
      throw;
    }
    r.ok = true;
    giveBack(true);
    return r;
  } catch (const RuntimeError& e) {
    return Failure(e.number(), e.description());
  } catch (const std::bad_alloc&) {
    return Failure(err::kOutOfMemory, {});
  } catch (const std::exception& e) {
    return Failure(err::kInvalidCall, e.what());
  } catch (...) {
    return Failure(err::kInvalidCall, {});
  }
}

}  // namespace vantrove

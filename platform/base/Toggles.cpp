#include "platform/base/Toggles.h"

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <utility>

#include "platform/base/Exceptions.h"
#include "platform/base/Trace.h"

namespace Qel {

namespace {

struct Toggles {
  std::string directory = "/etc/korvo/toggles";
  std::map<std::pair<std::string, std::string>, bool> states;  // (file, name)
};

TraceHandle& togglesTrace() {
  static TraceHandle& handle = traceHandle("Toggles");
  return handle;
}
// Known by its name before there is anything to trace.
[[maybe_unused]] const TraceHandle& registered = togglesTrace();

Toggles& toggles() {
  static auto* const instance = new Toggles;
  return *instance;
}

bool readToggle(const std::string& path, const std::string& name, bool defaultState) {
  TraceHandle& trace = togglesTrace();
  errno = 0;
  std::ifstream file(path);
  if (!file) {
    if (errno != ENOENT) {
      QEL_TRACE(trace, 1, "toggle file {}: {}; {} keeps its default", path, std::strerror(errno),
                name);
    }
    return defaultState;
  }
  std::ostringstream text;
  text << file.rdbuf();
  rapidjson::Document document;
  // Iterative: a file of nothing but brackets must not use up the stack.
  document.Parse<rapidjson::kParseIterativeFlag>(text.str().c_str());
  if (document.HasParseError()) {
    QEL_TRACE(trace, 1, "toggle file {}: {} at byte {}; {} keeps its default", path,
              rapidjson::GetParseError_En(document.GetParseError()), document.GetErrorOffset(),
              name);
    return defaultState;
  }
  if (!document.IsObject()) {
    QEL_TRACE(trace, 1, "toggle file {} is no JSON object; {} keeps its default", path, name);
    return defaultState;
  }
  const auto member = document.FindMember(name.c_str());
  if (member == document.MemberEnd()) return defaultState;
  if (!member->value.IsBool()) {
    QEL_TRACE(trace, 1, "toggle file {}: {} is neither true nor false; it keeps its default", path,
              name);
    return defaultState;
  }
  return member->value.GetBool();
}

}  // namespace

bool getToggleState(std::string_view name, std::string_view file, bool defaultState) {
  Toggles& all = toggles();
  std::pair key{std::string(file), std::string(name)};
  auto it = all.states.find(key);
  if (it == all.states.end()) {
    const bool state = readToggle(all.directory + "/" + key.first, key.second, defaultState);
    it = all.states.emplace(std::move(key), state).first;
  }
  return it->second;
}

void toggleDirectoryIs(std::string directory) { toggles().directory = std::move(directory); }

void toggleStateIs(std::string_view name, std::string_view file, bool state) {
  const auto [it, added] =
      toggles().states.emplace(std::pair{std::string(file), std::string(name)}, state);
  const bool readOnce = added || it->second == state;
  QEL_ASSERT(readOnce);
}

void forgetTogglesForTest() { toggles() = Toggles{}; }

}  // namespace Qel

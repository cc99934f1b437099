#include "client/InterfaceName.h"

#include <fmt/format.h>
#include <rapidjson/document.h>

namespace KorvoCtl {

Result<std::string> resolveInterface(std::string_view wanted, std::string_view json) {
  const Problem notUnderstood{ExitStatus::kFailed,
                              "the agent's answer about an interface is not understood"};
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(json.data(), json.size());
  if (document.HasParseError() || !document.IsObject()) {
    return notUnderstood;
  }
  const auto list = document.FindMember("interfaces");
  if (list == document.MemberEnd() || !list->value.IsArray()) {
    return notUnderstood;
  }
  if (list->value.Empty()) {
    return Problem{ExitStatus::kUsage, fmt::format("the agent knows no interface '{}'", wanted)};
  }
  const auto& first = list->value[0];
  if (!first.IsObject() || !first.HasMember("name") || !first["name"].IsString()) {
    return notUnderstood;
  }
  return std::string(first["name"].GetString(), first["name"].GetStringLength());
}

}  // namespace KorvoCtl

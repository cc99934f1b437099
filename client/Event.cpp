#include "client/Event.h"

#include <rapidjson/document.h>

#include <utility>

namespace KorvoCtl {

namespace {

using Object = rapidjson::Value;

const Object* find(const Object& object, const char* name) {
  const auto member = object.FindMember(name);
  return member == object.MemberEnd() ? nullptr : &member->value;
}

std::optional<std::uint64_t> unsignedOf(const Object& object, const char* name) {
  const Object* value = find(object, name);
  return value != nullptr && value->IsUint64() ? std::optional(value->GetUint64()) : std::nullopt;
}

double numberOf(const Object& object, const char* name) {
  const Object* value = find(object, name);
  return value != nullptr && value->IsNumber() ? value->GetDouble() : 0;
}

std::string textOf(const Object& object, const char* name) {
  const Object* value = find(object, name);
  return value != nullptr && value->IsString()
             ? std::string(value->GetString(), value->GetStringLength())
             : std::string();
}

Event::Kind kindOf(std::string_view name) {
  if (name == "accepted") {
    return Event::Kind::kAccepted;
  }
  if (name == "progress") {
    return Event::Kind::kProgress;
  }
  return name == "done" ? Event::Kind::kDone : Event::Kind::kUnknown;
}

}  // namespace

std::optional<Event> parseEvent(std::string_view line) {
  rapidjson::Document document;
  // Iterative: the depth of what a peer sends must not become the depth of our stack.
  document.Parse<rapidjson::kParseIterativeFlag>(line.data(), line.size());
  if (document.HasParseError() || !document.IsObject()) {
    return std::nullopt;
  }
  return Event{.kind = kindOf(textOf(document, "event")),
               .id = unsignedOf(document, "id").value_or(0),
               .rows = unsignedOf(document, "rows").value_or(0),
               .bytes = unsignedOf(document, "bytes"),
               .slices = unsignedOf(document, "slices").value_or(0),
               .status = textOf(document, "status"),
               .message = textOf(document, "message"),
               .worstSliceMs = numberOf(document, "worstSliceMs"),
               .elapsedMs = numberOf(document, "elapsedMs")};
}

std::vector<std::string> LineBuffer::add(std::string_view data) {
  std::vector<std::string> lines;
  for (std::size_t newline = data.find('\n'); newline != std::string_view::npos;
       newline = data.find('\n')) {
    rest_.append(data.substr(0, newline));
    lines.push_back(std::exchange(rest_, {}));
    data.remove_prefix(newline + 1);
  }
  rest_.append(data);
  return lines;
}

std::string LineBuffer::takeRest() { return std::exchange(rest_, {}); }

}  // namespace KorvoCtl

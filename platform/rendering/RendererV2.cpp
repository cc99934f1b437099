#include "platform/rendering/RendererV2.h"

#include <charconv>
#include <string>

#include "text/JsonString.h"

namespace Rendering {

void RendererV2::appendText(std::string_view format, std::initializer_list<PrintfArg> args) {
  buffer().append(formatPrintf(format, args));
}

void RendererV2::key(std::string_view text) {
  separator();
  std::string quoted;
  Text::appendJsonString(quoted, text);
  quoted += ':';
  buffer().append(quoted);
}

void RendererV2::open(std::string_view keyText, char bracket) {
  if (!isJson()) return;
  key(keyText);
  buffer().append(bracket);
  separatorDue_ = false;
}

void RendererV2::member(std::string_view keyText, bool value) {
  if (!isJson()) return;
  key(keyText);
  buffer().append(value ? std::string_view("true") : std::string_view("false"));
}

void RendererV2::member(std::string_view keyText, std::string_view value) {
  if (!isJson()) return;
  key(keyText);
  std::string quoted;
  Text::appendJsonString(quoted, value);
  buffer().append(quoted);
}

void RendererV2::memberNull(std::string_view keyText) {
  if (!isJson()) return;
  key(keyText);
  buffer().append("null");
}

void RendererV2::element(std::string_view value) {
  if (!isJson()) return;
  separator();
  std::string quoted;
  Text::appendJsonString(quoted, value);
  buffer().append(quoted);
}

void RendererV2::unsignedMember(std::string_view keyText, std::uint64_t value) {
  if (!isJson()) return;
  key(keyText);
  char* const out = buffer().reserve(20);
  buffer().commit(std::to_chars(out, out + 20, value).ptr);
}

void RendererV2::signedMember(std::string_view keyText, std::int64_t value) {
  if (!isJson()) return;
  key(keyText);
  char* const out = buffer().reserve(20);
  buffer().commit(std::to_chars(out, out + 20, value).ptr);
}

}  // namespace Rendering

// The renderer that commands print through: one sequence of calls gives text or JSON.
//
//   addFrills("%s\n", rule);                                text only
//   addAttribute("Number of entries : %d\n", "numEntries", n);   the text, or "numEntries":n
//   openList("rows"); openObject(); member("vlan", 10); closeObject(); closeList();   JSON only
//
// Separators. In JSON every element but the first of its object or list is preceded by a comma. The
// renderer keeps that as one flag: cleared by every opening, set by everything else that is
// written. As one flag it survives from slice to slice of a dump without a stack, whatever the
// depth.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <concepts>
#include <cstdint>
#include <string_view>

#include "platform/rendering/PrintfArg.h"
#include "platform/rendering/Renderer.h"

namespace Rendering {

class RendererV2 final : public Renderer {
 public:
  using Renderer::Renderer;

  // Text decorations and values that both formats show.

  /** Decoration (heads, rules, blank lines): printf-style text, nothing in JSON. */
  template <class... Args>
  void addFrills(std::string_view textFormat, const Args&... args) {
    if (!isJson()) appendText(textFormat, {PrintfArg(args)...});
  }
  /** A value: printf-style text with that one value, or a JSON member. */
  template <class T>
  void addAttribute(std::string_view textFormat, std::string_view jsonKey, const T& value) {
    if (isJson()) {
      member(jsonKey, value);
    } else {
      appendText(textFormat, {PrintfArg(value)});
    }
  }

  // JSON writers; each does nothing in text.

  void openObject() { open('{'); }
  void openObject(std::string_view key) { open(key, '{'); }
  void closeObject() { close('}'); }
  void openList() { open('['); }
  void openList(std::string_view key) { open(key, '['); }
  void closeList() { close(']'); }

  void member(std::string_view key, bool value);
  void member(std::string_view key, std::string_view value);
  void member(std::string_view key, const char* value) { member(key, std::string_view(value)); }
  template <std::unsigned_integral T>
  void member(std::string_view key, T value) {
    unsignedMember(key, value);
  }
  template <std::signed_integral T>
  void member(std::string_view key, T value) {
    signedMember(key, value);
  }
  void memberNull(std::string_view key);
  /** A string as an element of a list. */
  void element(std::string_view value);
  /** The newline that ends a JSON document. */
  void documentEnd() {
    if (isJson()) buffer().append('\n');
  }

  // For row printers that write straight into the buffer.

  /** Whether the next JSON element is preceded by a comma. */
  bool separatorDue() const noexcept { return separatorDue_; }
  void separatorDueIs(bool due) noexcept { separatorDue_ = due; }

 private:
  void appendText(std::string_view format, std::initializer_list<PrintfArg> args);
  // Every row of a dump is an object, so these are at hand without a call.
  void separator() {
    if (separatorDue_) buffer().append(',');
    separatorDue_ = true;
  }
  void open(char bracket) {
    if (!isJson()) return;
    separator();
    buffer().append(bracket);
    separatorDue_ = false;
  }
  void close(char bracket) {
    if (!isJson()) return;
    buffer().append(bracket);
    separatorDue_ = true;
  }
  void key(std::string_view text);
  void open(std::string_view key, char bracket);
  void unsignedMember(std::string_view key, std::uint64_t value);
  void signedMember(std::string_view key, std::int64_t value);

  bool separatorDue_ = false;
};

}  // namespace Rendering

// Follows a JSON document while it goes past, and tells whether it came whole.
//
// Looks at brackets, strings and what stands between values, so that a document that is cut off or
// goes on behind its end is noticed; how numbers and words like `true` are spelt is not looked at.
// Keeps a byte for each open bracket and never the document.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace KorvoCtl {

class JsonShape {
 public:
  // A document with more open brackets than this is none that an agent sends.
  static constexpr std::size_t kMaxDepth = 64;

  // Takes the next character. True when a value begins with it, of the list or object that was
  // open before.
  bool add(char c);

  // The brackets that are open, the outermost first: "{[" in a list that is a member.
  [[nodiscard]] std::string_view open() const { return open_; }
  // Whether one value came to its end, with nothing behind it.
  [[nodiscard]] bool isWhole() const { return state_ == State::kEnd; }

 private:
  enum class State : std::uint8_t {
    kValue,
    kFirstItem,    // or the end of the list
    kFirstMember,  // or the end of the object
    kMember,
    kColon,
    kString,
    kScalar,  // in a number, or in a word like `true`
    kNext,    // a comma, or the end of the list or object
    kEnd,
    kBroken,
  };

  [[nodiscard]] State after(char c);
  [[nodiscard]] State begin(char c);
  [[nodiscard]] State close();
  [[nodiscard]] State afterValue() const;

  State state_ = State::kValue;
  bool isName_ = false;   // kString: the string is the name of a member
  bool escaped_ = false;  // kString: the next character stands for itself
  std::string open_;
};

}  // namespace KorvoCtl

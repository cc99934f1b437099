// Tells from the answer of a check whether it found something, while the answer goes past.
//
// Text: the numbers behind the totals' texts at the beginning of a line. JSON: whether a list that
// is a direct member of the document holds something. Keeps a few words of state and never the
// document, which can be as large as the table that was checked.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "client/Request.h"

namespace KorvoCtl {

class Findings {
 public:
  enum class Verdict {
    kUnknown,  // the answer holds none of what tells
    kClean,
    kFound,
  };

  // totals: see CommandRow::totals; must outlive this object.
  Findings(Format format, std::span<const std::string_view> totals)
      : format_(format), totals_(totals) {}

  // Takes the next piece of the answer; where it is cut does not matter.
  void add(std::string_view data);

  // What the answer said so far.
  [[nodiscard]] Verdict verdict() const;

 private:
  void addText(std::string_view data);
  void endLine();
  void addJson(char c);

  Format format_;
  std::span<const std::string_view> totals_;
  bool told_ = false;
  bool found_ = false;

  // Text: the beginning of the current line, no longer than a line of totals can be.
  std::string line_;

  // JSON.
  std::size_t depth_ = 0;
  bool inString_ = false;
  bool escaped_ = false;
  bool inList_ = false;  // the innermost list or object at depth 2 is a list
};

}  // namespace KorvoCtl

// Tells from the answer of a check whether it found something, while the answer goes past.
//
// Text: the numbers behind the totals' texts at the beginning of a line. JSON: whether a list that
// is a direct member of the document holds something. Keeps a few words of state and never the
// document, which can be as large as the table that was checked.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "client/JsonShape.h"
#include "client/Request.h"

namespace KorvoCtl {

class Findings {
 public:
  enum class Verdict {
    kUnknown,  // the answer is not whole, or holds none of what tells
    kClean,
    kFound,
  };

  // totals: see CommandRow::totals; must outlive this object.
  Findings(Format format, std::span<const std::string_view> totals)
      : format_(format), totals_(totals), toldTotals_(totals.size()) {}

  // Takes the next piece of the answer; where it is cut does not matter.
  void add(std::string_view data);

  // What the answer says, once all of it was added. A text is whole when its last line has an end
  // and every total has come, a JSON answer when the document is.
  [[nodiscard]] Verdict verdict() const;

 private:
  [[nodiscard]] bool isWhole() const;
  void addText(std::string_view data);
  void endLine();
  void addJson(char c);

  Format format_;
  std::span<const std::string_view> totals_;
  bool found_ = false;

  // Text: the beginning of the current line, no longer than a line of totals can be.
  std::string line_;
  std::vector<bool> toldTotals_;

  // JSON.
  JsonShape shape_;
  bool hasList_ = false;
};

}  // namespace KorvoCtl

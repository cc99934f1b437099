#include "client/Findings.h"

#include <algorithm>
#include <cstddef>

namespace KorvoCtl {

namespace {

// Longest total text and the digits of its number fit well.
constexpr std::size_t kKeptOfLine = 200;

// The open brackets in the list whose values are entries: it is a member of the document.
constexpr std::string_view kInList = "{[";

}  // namespace

void Findings::add(std::string_view data) {
  if (format_ == Format::kText) {
    addText(data);
  } else {
    for (const char c : data) {
      addJson(c);
    }
  }
}

Findings::Verdict Findings::verdict() const {
  if (!isWhole()) {
    return Verdict::kUnknown;
  }
  return found_ ? Verdict::kFound : Verdict::kClean;
}

bool Findings::isWhole() const {
  if (format_ == Format::kText) {
    return line_.empty() &&
           std::find(toldTotals_.begin(), toldTotals_.end(), false) == toldTotals_.end();
  }
  return shape_.isWhole() && hasList_;
}

void Findings::addText(std::string_view data) {
  while (!data.empty()) {
    const std::size_t end = data.find('\n');
    const std::string_view piece = data.substr(0, end);
    line_.append(piece.substr(0, kKeptOfLine - std::min(kKeptOfLine, line_.size())));
    if (end == std::string_view::npos) {
      return;
    }
    endLine();
    data.remove_prefix(end + 1);
  }
}

void Findings::endLine() {
  for (std::size_t i = 0; i < totals_.size(); ++i) {
    std::string_view rest = line_;
    if (!rest.starts_with(totals_[i])) {
      continue;
    }
    rest.remove_prefix(totals_[i].size());
    rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
    if (!rest.empty() && rest.front() >= '0' && rest.front() <= '9') {
      toldTotals_[i] = true;
      // Any digit but 0 makes the number more than 0, however many digits there are.
      found_ = found_ || rest.find_first_of("123456789") != std::string_view::npos;
    }
  }
  line_.clear();
}

void Findings::addJson(char c) {
  const bool isInList = shape_.open() == kInList;
  const bool beginsValue = shape_.add(c);
  found_ = found_ || (isInList && beginsValue);
  hasList_ = hasList_ || shape_.open() == kInList;
}

}  // namespace KorvoCtl

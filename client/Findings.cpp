#include "client/Findings.h"

#include <algorithm>
#include <cstdint>

namespace KorvoCtl {

namespace {

// Longest total text and the digits of its number fit well.
constexpr std::size_t kKeptOfLine = 200;

// The list whose members are entries is a member of the document: "{" is depth 1, "[" depth 2.
constexpr std::size_t kListDepth = 2;

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

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
  if (!told_) {
    return Verdict::kUnknown;
  }
  return found_ ? Verdict::kFound : Verdict::kClean;
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
  for (const std::string_view total : totals_) {
    std::string_view rest = line_;
    if (!rest.starts_with(total)) {
      continue;
    }
    rest.remove_prefix(total.size());
    while (!rest.empty() && isBlank(rest.front())) {
      rest.remove_prefix(1);
    }
    if (!rest.empty() && rest.front() >= '0' && rest.front() <= '9') {
      told_ = true;
      // Any digit but 0 makes the number more than 0, however many digits there are.
      found_ = found_ || rest.find_first_of("123456789") != std::string_view::npos;
    }
  }
  line_.clear();
}

void Findings::addJson(char c) {
  if (inString_) {
    if (escaped_) {
      escaped_ = false;
    } else if (c == '\\') {
      escaped_ = true;
    } else if (c == '"') {
      inString_ = false;
    }
    return;
  }
  if (isBlank(c)) {
    return;
  }
  if (depth_ == kListDepth && inList_ && c != ']') {
    found_ = true;
  }
  switch (c) {
    case '"':
      inString_ = true;
      break;
    case '{':
    case '[':
      ++depth_;
      if (depth_ == kListDepth) {
        inList_ = c == '[';
        told_ = told_ || inList_;
      }
      break;
    case '}':
    case ']':
      depth_ -= depth_ > 0 ? 1 : 0;
      break;
    default:
      break;
  }
}

}  // namespace KorvoCtl

#include "tests/documents/Text.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace KorvoL2::Testing {

namespace {

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

/** How many code points `text`, valid UTF-8, has. */
std::size_t points(std::string_view text) {
  return static_cast<std::size_t>(
      std::ranges::count_if(text, [](char c) { return (c & 0xc0) != 0x80; }));
}

/** The bytes of the first `count` code points. */
std::size_t bytesOf(std::string_view text, std::size_t count) {
  std::size_t at = 0;
  while (at < text.size() && points(text.substr(0, at + 1)) <= count) ++at;
  return at;
}

/** The lines of a cell: broken at a blank where there is one, which then stands on neither line. */
std::vector<std::string> wrapped(std::string_view text, std::size_t width) {
  std::vector<std::string> lines;
  while (points(text) > width) {
    const std::size_t room = bytesOf(text, width);
    const std::size_t blank = text.rfind(' ', room);
    const std::size_t end = blank == std::string_view::npos ? room : blank;
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(end);
    while (text.starts_with(' ')) text.remove_prefix(1);
  }
  lines.emplace_back(text);
  return lines;
}

}  // namespace

std::string format(const char* pattern, ...) {
  std::va_list args;
  va_start(args, pattern);
  std::va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(nullptr, 0, pattern, args);
  va_end(args);
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  std::vsnprintf(text.data(), text.size(), pattern, again);
  va_end(again);
  text.pop_back();
  return text;
}

std::string jsonString(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (c == '\n') {
      out += "\\n";
    } else if (static_cast<unsigned char>(c) < 0x20) {
      out += format("\\u%04x", static_cast<unsigned>(c));
    } else {
      out += c;
    }
  }
  return out + '"';
}

const char* jsonBool(bool value) { return value ? "true" : "false"; }

std::string jsonObject(const std::vector<std::string>& members) {
  std::string out;
  for (const std::string& member : members) out += (out.empty() ? "{" : ",") + member;
  return out.empty() ? "{}" : out + "}";
}

std::string withoutControls(std::string_view text) {
  std::string out;
  for (const char c : text) {
    out += isControl(c) ? format("\\x%02x", static_cast<unsigned>(c)) : std::string(1, c);
  }
  return out;
}

std::string macText(std::uint64_t mac) {
  return format("%04x.%04x.%04x", static_cast<unsigned>(mac >> 32 & 0xffff),
                static_cast<unsigned>(mac >> 16 & 0xffff), static_cast<unsigned>(mac & 0xffff));
}

std::string rule(std::size_t length) { return std::string(length, '-') + "\n"; }

std::string ColumnTable::heading() const {
  std::vector<std::string> heads;
  std::vector<std::string> rules;
  for (const Column& column : columns_) {
    heads.push_back(column.head);
    rules.emplace_back(column.width, '-');
  }
  return row(heads) + row(rules);
}

std::string ColumnTable::row(const std::vector<std::string>& cells) const {
  std::vector<std::vector<std::string>> lines;
  std::size_t height = 0;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    lines.push_back(wrapped(cells[i], columns_[i].width));
    height = std::max(height, lines.back().size());
  }
  std::string out;
  for (std::size_t y = 0; y < height; ++y) {
    std::string line;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      const Column& column = columns_[i];
      line.append(i == 0 ? column.before : std::max(columns_[i - 1].after, column.before), ' ');
      const std::string cell = y < lines[i].size() ? lines[i][y] : "";
      line += cell + std::string(column.width - points(cell), ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    out += line + "\n";
  }
  return out;
}

}  // namespace KorvoL2::Testing

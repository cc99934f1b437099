#include "agent/services/AnswerTable.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

#include "platform/base/Exceptions.h"
#include "platform/rendering/TableRenderer.h"
#include "text/Printable.h"

namespace KorvoAgent {

namespace {

using Rendering::ColumnFormatter;

constexpr std::size_t kBufferSize = std::size_t{64} * 1024;
constexpr std::size_t kFactNameWidth = 30;
constexpr int kBlanksBetweenColumns = 2;
// A list that is longer goes on below.
constexpr std::size_t kWidestColumn = 64;
constexpr std::string_view kNothing = "-";

}  // namespace

std::string counted(std::uint64_t number, std::string_view one, std::string_view many) {
  return std::to_string(number).append(" ").append(number == 1 ? one : many);
}

Answer::Answer(std::uint32_t socket)
    : renderer_(Qel::makePtr<Rendering::RendererV2>(
          Rendering::kText,
          Qel::makePtr<Rendering::PrintBuffer>(socket, kBufferSize,
                                               Rendering::PrintBuffer::kStream),
          true)) {}

void Answer::line(std::string_view text) {
  Rendering::PrintBuffer& buffer = renderer_->buffer();
  std::string room;
  buffer.append(Text::printable(text, room));
  buffer.append('\n');
}

void Answer::fact(std::string_view name, std::string_view value) {
  std::string text = "  ";
  text.append(name).append(kFactNameWidth - std::min(kFactNameWidth, name.size()), ' ');
  line(text.append(" : ").append(value.empty() ? kNothing : value));
}

void Answer::fact(std::string_view name, std::uint64_t value) {
  fact(name, std::string_view(std::to_string(value)));
}

void AnswerTable::add(std::string_view text) {
  // Before the widths are told: what is shown by its number is longer.
  std::string room;
  text_.append(text.empty() ? kNothing : Text::printable(text, room));
  ends_.push_back(text_.size());
}

void AnswerTable::addNumber(std::uint64_t number) {
  std::array<char, std::numeric_limits<std::uint64_t>::digits10 + 1> digits{};
  text_.append(digits.data(), std::to_chars(digits.begin(), digits.end(), number).ptr);
  ends_.push_back(text_.size());
}

void AnswerTable::rowEnd() {
  ++numRows_;
  QEL_ASSERT(ends_.size() == numRows_ * columns_.size());
}

int AnswerTable::widthOf(std::size_t column) const {
  std::size_t width = columns_[column].head.size();
  for (std::size_t cell = column; cell < ends_.size(); cell += columns_.size()) {
    width = std::max(width, ends_[cell] - (cell == 0 ? 0 : ends_[cell - 1]));
  }
  return static_cast<int>(std::min(width, kWidestColumn));
}

void AnswerTable::print(Answer& answer, const Texts& texts) const {
  if (size() == 0 && !cutOff_) {
    answer.line(texts.none.empty() ? std::string("No ").append(texts.many).append(".")
                                   : std::string(texts.none));
    return;
  }
  if (!texts.title.empty()) answer.line(texts.title);

  std::vector<ColumnFormatter> formats;
  std::vector<std::string_view> cells;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    const int alignment =
        columns_[i].alignment == kRight ? ColumnFormatter::kRight : ColumnFormatter::kLeft;
    formats.emplace_back(widthOf(i), alignment, 0, kBlanksBetweenColumns, true, 0);
    cells.push_back(columns_[i].head);
  }
  Rendering::TableRenderer table(answer.renderer(), formats, true, false);
  table.addHeading(cells);
  std::size_t begin = 0;
  for (std::size_t cell = 0; cell < ends_.size();) {
    for (std::string_view& text : cells) {
      text = std::string_view(text_).substr(begin, ends_[cell] - begin);
      begin = ends_[cell++];
    }
    table.addRow(cells);
  }

  if (omitted_ != 0 || cutOff_) {
    std::string more =
        cutOff_ ? "... and perhaps more" : "... " + std::to_string(omitted_) + " more";
    if (!texts.hint.empty()) more.append("; ").append(texts.hint);
    answer.line(more);
  }
  std::string count = cutOff_ ? "at least " : "";
  count += counted(size(), texts.one, texts.many);
  if (!texts.total.empty()) count.append("; ").append(texts.total);
  answer.line(count);
}

}  // namespace KorvoAgent

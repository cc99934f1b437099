#include "platform/rendering/TableRenderer.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "platform/base/Exceptions.h"
#include "text/Printable.h"
#include "text/Utf8.h"

namespace Rendering {

namespace {

constexpr char kCutMark = '~';

char* fill(char* out, char c, std::size_t count) noexcept {
  std::memset(out, c, count);
  return out + count;
}

// Blanks in front of content of `used` code points in a cell of `width`.
std::size_t blanksInFront(ColumnFormatter::Alignment alignment, std::size_t width,
                          std::size_t used) noexcept {
  switch (alignment) {
    case ColumnFormatter::kLeft:
      return 0;
    case ColumnFormatter::kRight:
      return width - used;
    case ColumnFormatter::kCentre:
      return (width - used) / 2;
  }
  return 0;
}

// Copies `text`, and tells whether every byte is a printable ASCII character.
bool copyPlain(char* out, std::string_view text) noexcept {
  bool plain = true;
  for (const char c : text) {
    plain &= static_cast<std::uint8_t>(c - ' ') < 0x7f - ' ';
    *out++ = c;
  }
  return plain;
}

// What of a cell stands on one line.
struct Piece {
  std::size_t bytes = 0;       // of the cell's text
  std::size_t codePoints = 0;  // as shown
  std::size_t consumed = 0;    // bytes of the text that are done with: those, and the break
  bool cut = false;            // the cut mark follows
};

Piece nextPiece(std::string_view text, std::size_t width, bool wrap) noexcept {
  Piece piece;
  Piece beforeBlank;  // up to the last blank that has something in front of it
  Piece beforeLast;   // up to the last code point that fits
  bool sawContent = false;
  while (piece.bytes < text.size() && piece.codePoints < width) {
    const char c = text[piece.bytes];
    if (c == ' ' && sawContent) beforeBlank = piece;
    sawContent |= c != ' ';
    beforeLast = piece;
    piece.bytes += Text::utf8SequenceLength(text.substr(piece.bytes));
    ++piece.codePoints;
  }
  if (piece.bytes == text.size()) {
    piece.consumed = text.size();
    return piece;
  }
  if (!wrap) {
    beforeLast.consumed = text.size();
    beforeLast.cut = true;
    return beforeLast;
  }
  const bool blankFollows = text[piece.bytes] == ' ';
  if (!blankFollows && beforeBlank.bytes != 0) piece = beforeBlank;
  // Blanks at a break belong to neither line.
  piece.consumed = std::min(text.find_first_not_of(' ', piece.bytes), text.size());
  while (piece.bytes > 1 && text[piece.bytes - 1] == ' ') {
    --piece.bytes;
    --piece.codePoints;
  }
  return piece;
}

}  // namespace

TableRenderer::TableRenderer(RendererV2& renderer, const std::vector<ColumnFormatter>& columns,
                             bool headingRule, bool borders)
    : renderer_(&renderer), headingRule_(headingRule), borders_(borders) {
  QEL_ASSERT(!columns.empty());
  std::size_t blanksBehind = 0;  // what the column to the left wants
  std::size_t bytes = 0;
  for (const ColumnFormatter& format : columns) {
    std::string lead;
    if (borders_) {
      lead.append(blanksBehind, ' ').append(1, '|').append(format.blanksBefore(), ' ');
    } else {
      lead.append(std::max<std::size_t>(blanksBehind, format.blanksBefore()), ' ');
    }
    blanksBehind = format.blanksAfter();
    bytes += lead.size() + std::size_t{4} * format.width();
    columns_.push_back({format, std::move(lead)});
  }
  if (borders_) lineEnd_.append(blanksBehind, ' ').append(1, '|');
  lineEnd_ += '\n';
  maxLineBytes_ = bytes + lineEnd_.size();
  remaining_.resize(columns_.size());
  rooms_.resize(columns_.size());
}

void TableRenderer::addHeading(Cells heads) {
  if (renderer_->isJson()) return;
  addRow(heads);
  if (headingRule_) addRule();
}

void TableRenderer::addRow(Cells cells) {
  if (renderer_->isJson()) return;
  if (!addPlainLine(cells)) addWrappedLines(cells);
  renderer_->buffer().unitEnd();
}

// The common row: plain ASCII that fits. False, and nothing printed, when it is another one.
bool TableRenderer::addPlainLine(Cells cells) {
  PrintBuffer& buffer = renderer_->buffer();
  char* const line = buffer.reserve(maxLineBytes_);
  char* out = line;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    const Column& column = columns_[i];
    const std::size_t width = column.format.width();
    const std::string_view text = i < cells.size() ? cells[i] : std::string_view();
    if (text.size() > width) return false;
    out = writeLead(out, column);
    const std::size_t inFront = blanksInFront(column.format.alignment(), width, text.size());
    out = fill(out, ' ', inFront);
    if (!copyPlain(out, text)) return false;
    out += text.size();
    out = fill(out, ' ', width - inFront - text.size());
  }
  buffer.commit(endLine(line, out));
  return true;
}

void TableRenderer::addWrappedLines(Cells cells) {
  PrintBuffer& buffer = renderer_->buffer();
  // What is not printable is replaced first, so that what replaces it counts in the widths.
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    remaining_[i] = i < cells.size() ? Text::printable(cells[i], rooms_[i]) : std::string_view();
  }
  bool firstLine = true;
  bool more = true;
  while (more) {
    more = false;
    char* const line = buffer.reserve(maxLineBytes_);
    char* out = line;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      const ColumnFormatter& format = columns_[i].format;
      std::string_view& text = remaining_[i];
      const std::size_t indent = firstLine ? 0 : format.continuationIndent();
      const std::size_t width = format.width() - indent;
      const Piece piece = nextPiece(text, width, format.wrap());
      const std::size_t used = piece.codePoints + (piece.cut ? 1 : 0);
      const std::size_t inFront = blanksInFront(format.alignment(), width, used);
      out = writeLead(out, columns_[i]);
      out = fill(out, ' ', indent + inFront);
      out += text.copy(out, piece.bytes);
      if (piece.cut) *out++ = kCutMark;
      out = fill(out, ' ', width - inFront - used);
      text.remove_prefix(piece.consumed);
      more |= !text.empty();
    }
    buffer.commit(endLine(line, out));
    firstLine = false;
  }
}

void TableRenderer::addRule() {
  PrintBuffer& buffer = renderer_->buffer();
  char* const line = buffer.reserve(maxLineBytes_);
  char* out = line;
  for (const Column& column : columns_) {
    out = writeLead(out, column);
    out = fill(out, '-', column.format.width());
  }
  out = endLine(line, out);
  if (borders_) {
    // Under borders the rule is one line, crossed by each of them.
    std::replace(line, out, ' ', '-');
    std::replace(line, out, '|', '+');
  }
  buffer.commit(out);
}

char* TableRenderer::writeLead(char* out, const Column& column) {
  return out + column.lead.copy(out, column.lead.size());
}

char* TableRenderer::endLine(const char* line, char* out) const {
  while (!borders_ && out != line && out[-1] == ' ') --out;
  return out + lineEnd_.copy(out, lineEnd_.size());
}

}  // namespace Rendering

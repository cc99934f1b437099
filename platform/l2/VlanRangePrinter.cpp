#include "platform/l2/VlanRangePrinter.h"

#include <array>
#include <charconv>
#include <string>
#include <string_view>

namespace KorvoL2 {

using Bridging::IntfId;
using Bridging::VlanIdRange;
using Rendering::RendererV2;

namespace {

// Words with blanks between them, folded into lines.
class FoldedLine {
 public:
  explicit FoldedLine(Rendering::PrintBuffer& buffer) : buffer_(buffer) {}

  void word(std::string_view text) {
    constexpr std::size_t kWidth = 100;
    constexpr std::string_view kContinuation = "\n    ";
    if (column_ != 0 && column_ + 1 + text.size() > kWidth) {
      buffer_.append(kContinuation);
      column_ = kContinuation.size() - 1;
    } else if (column_ != 0) {
      buffer_.append(' ');
      ++column_;
    }
    buffer_.append(text);
    column_ += text.size();
  }
  void end() { buffer_.append('\n'); }

 private:
  Rendering::PrintBuffer& buffer_;
  std::size_t column_ = 0;
};

// "10-20," or "30": a word of the list, with the comma behind all but the last.
class RangeWord {
 public:
  RangeWord(const VlanIdRange& range, bool last) {
    number(range.first());
    if (range.last() != range.first()) {
      *end_++ = '-';
      number(range.last());
    }
    if (!last) *end_++ = ',';
  }
  std::string_view text() const {
    return {text_.data(), static_cast<std::size_t>(end_ - text_.data())};
  }

 private:
  void number(Bridging::VlanId vlan) {
    end_ = std::to_chars(end_, text_.data() + text_.size(), vlan.value()).ptr;
  }
  std::array<char, 12> text_{};
  char* end_ = text_.data();
};

void printText(RendererV2& renderer, IntfId intf, const IntfId* lag, std::uint16_t logicalPort,
               bool oversize, const std::vector<VlanIdRange>& ranges) {
  FoldedLine line(renderer.buffer());
  line.word(intf.stringValue() + ":");
  line.word("logical port " + std::to_string(logicalPort) + ",");
  if (lag != nullptr) line.word("member of " + lag->stringValue() + ",");
  if (oversize) line.word("wants more than its table holds,");
  line.word(std::to_string(ranges.size()) +
            (ranges.size() == 1 ? " VLAN range:" : " VLAN ranges:"));
  for (std::size_t i = 0; i < ranges.size(); ++i) {
    line.word(RangeWord(ranges[i], i + 1 == ranges.size()).text());
  }
  line.end();
}

void printJson(RendererV2& renderer, IntfId intf, const IntfId* lag, std::uint16_t logicalPort,
               bool oversize, const std::vector<VlanIdRange>& ranges) {
  renderer.openObject(intf.stringValue());
  renderer.member("logicalPort", logicalPort);
  renderer.member("portChannel", lag == nullptr ? std::string_view() : lag->stringValue());
  renderer.member("oversize", oversize);
  renderer.openList("ranges");
  for (const VlanIdRange& range : ranges) {
    renderer.openObject();
    renderer.member("first", range.first().value());
    renderer.member("last", range.last().value());
    renderer.closeObject();
  }
  renderer.closeList();
  renderer.closeObject();
}

}  // namespace

void printIngVlanRangeEntryUtil(RendererV2& renderer, const FeatureAgentCommonSmData& fcsd,
                                IntfId intf, std::uint16_t logicalPort, bool oversize,
                                const std::vector<VlanIdRange>& ranges) {
  const IntfId* const lag = fcsd.portToLag().find(intf);
  const auto print = renderer.isJson() ? printJson : printText;
  print(renderer, intf, lag, logicalPort, oversize, ranges);
}

}  // namespace KorvoL2

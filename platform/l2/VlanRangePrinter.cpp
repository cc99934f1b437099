#include "platform/l2/VlanRangePrinter.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <limits>
#include <string>
#include <string_view>

#include "text/Printable.h"

namespace KorvoL2 {

using Bridging::IntfId;
using Bridging::VlanIdRange;
using Rendering::RendererV2;

namespace {

// Words with blanks between them, folded into lines, in room of the print buffer that is reserved
// for all of them.
class FoldedText {
 public:
  static constexpr std::string_view kFold = "\n    ";

  FoldedText(Rendering::PrintBuffer& buffer, std::size_t room)
      : buffer_(buffer), out_(buffer.reserve(room)), lineStart_(out_) {}

  /** Begins a word of `size` bytes. */
  void begin(std::size_t size) {
    constexpr std::ptrdiff_t kWidth = 100;
    if (out_ == lineStart_) return;
    if (out_ - lineStart_ + 1 + static_cast<std::ptrdiff_t>(size) > kWidth) {
      *this << kFold;
      lineStart_ = out_ - (kFold.size() - 1);
    } else {
      *out_++ = ' ';
    }
  }
  FoldedText& operator<<(std::string_view text) {
    out_ = std::copy(text.begin(), text.end(), out_);
    return *this;
  }
  FoldedText& operator<<(std::size_t number) {
    out_ = std::to_chars(out_, out_ + kMaxDigits, number).ptr;
    return *this;
  }
  void end() {
    *out_++ = '\n';
    buffer_.commit(out_);
  }

  static constexpr std::size_t kMaxDigits = std::numeric_limits<std::size_t>::digits10 + 1;

 private:
  Rendering::PrintBuffer& buffer_;
  char* out_;
  const char* lineStart_;
};

std::size_t numDigits(std::size_t number) {
  std::size_t digits = 1;
  for (; number >= 10; number /= 10) ++digits;
  return digits;
}

void printText(RendererV2& renderer, IntfId intf, const IntfId* lag, std::uint16_t logicalPort,
               bool oversize, const std::vector<VlanIdRange>& ranges) {
  constexpr std::string_view kPort = "logical port ";
  constexpr std::string_view kMember = "member of ";
  constexpr std::string_view kOversize = "wants more than its table holds,";
  const std::string_view noun = ranges.size() == 1 ? " VLAN range:" : " VLAN ranges:";
  constexpr std::size_t kPrintableByte = std::string_view("\\x00").size();
  constexpr std::size_t kHeadRoom = 2 * kPrintableByte * IntfId::kMaxNameLength + 200;
  std::string room;
  constexpr std::size_t kRangeRoom =
      FoldedText::kFold.size() + std::string_view("4094-4094,").size();

  FoldedText text(renderer.buffer(), kHeadRoom + ranges.size() * kRangeRoom);
  text << Text::printable(intf.stringValue(), room) << ":";
  text.begin(kPort.size() + numDigits(logicalPort) + 1);
  text << kPort << std::size_t{logicalPort} << ",";
  if (lag != nullptr) {
    const std::string_view name = Text::printable(lag->stringValue(), room);
    text.begin(kMember.size() + name.size() + 1);
    text << kMember << name << ",";
  }
  if (oversize) {
    text.begin(kOversize.size());
    text << kOversize;
  }
  text.begin(numDigits(ranges.size()) + noun.size());
  text << ranges.size() << noun;
  for (std::size_t i = 0; i < ranges.size(); ++i) {
    const std::size_t first = ranges[i].first().value();
    const std::size_t last = ranges[i].last().value();
    const std::string_view comma = i + 1 == ranges.size() ? "" : ",";
    const std::size_t lastSize = first == last ? 0 : 1 + numDigits(last);
    text.begin(numDigits(first) + lastSize + comma.size());
    text << first;
    if (first != last) text << "-" << last;
    text << comma;
  }
  text.end();
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

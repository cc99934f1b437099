// A request line, in whatever pieces it arrives.
//
// Input: one byte for the size of the pieces, then the line's bytes.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "agent/server/Events.h"
#include "agent/server/LineAssembler.h"
#include "agent/server/RequestLine.h"
#include "fuzz/Check.h"

namespace {

using namespace KorvoAgent;  // NOLINT(google-build-using-namespace): a program of its own
using KorvoFuzz::check;

LineAssembler assembled(std::string_view bytes, std::size_t piece) {
  LineAssembler assembler(kMaxRequestLine);
  while (!bytes.empty()) {
    const std::size_t size = std::min(piece, bytes.size());
    assembler.add(bytes.substr(0, size));
    bytes.remove_prefix(size);
  }
  return assembler;
}

void parse(std::string_view line) {
  const auto parsed = parseRequestLine(line);
  if (const auto* const problem = std::get_if<LineProblem>(&parsed)) {
    check(!problem->text.empty(), "a refused line without a word why");
    const std::string told = refusalLine(problem->text);
    check(std::ranges::count(told, '\n') == 1, "a complaint that is not one line", told);
    return;
  }
  // What was understood says the same again.
  const auto& request = std::get<RequestLine>(parsed);
  std::string again(entryName(request.entry));
  again.append(" ").append(formatName(request.format)).append(" ").append(request.command);
  check(again == line, "a line that was read as another one", again);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  const LineAssembler whole = assembled(bytes, bytes.size() + 1);
  const LineAssembler pieces = assembled(bytes, std::size_t{data[0]} + 1);
  check(whole.state() == pieces.state(), "pieces make a difference to whether a line is one");
  check(whole.line() == pieces.line(), "pieces make a difference to the line", pieces.line());
  if (whole.state() == LineAssembler::State::complete) parse(whole.line());
  return 0;
}

// simdjson is fast because it does not keep track of where it is. A text that it refused is read
// once more by RapidJSON, which does.

#include <fmt/format.h>
#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <system_error>

#include "agent/documents/JsonDocument.h"

namespace KorvoAgent {

namespace {

constexpr const char* kTooLarge = "a number too large for any machine";

// Stops at what is JSON by the grammar but more than simdjson takes.
class StricterThanTheGrammar
    : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, StricterThanTheGrammar> {
 public:
  // Levels of nesting, of which a scalar would be one more.
  static constexpr std::size_t kMaxDepth = simdjson::DEFAULT_MAX_DEPTH - 1;

  bool RawNumber(const char* digits, rapidjson::SizeType length, bool) {
    const char* const end = digits + length;
    const std::string_view text(digits, length);
    if (text.find_first_of(".eE") == std::string_view::npos) {
      std::int64_t asSigned;
      std::uint64_t asUnsigned;
      if (std::from_chars(digits, end, asSigned).ec == std::errc() ||
          std::from_chars(digits, end, asUnsigned).ec == std::errc()) {
        return true;
      }
    } else {
      double asDouble;
      if (std::from_chars(digits, end, asDouble).ec != std::errc::result_out_of_range) return true;
    }
    reason_ = kTooLarge;
    return false;
  }
  bool StartObject() { return enter(); }
  bool StartArray() { return enter(); }
  bool EndObject(rapidjson::SizeType) { return leave(); }
  bool EndArray(rapidjson::SizeType) { return leave(); }

  const std::string& reason() const noexcept { return reason_; }

 private:
  bool enter() {
    if (++depth_ <= kMaxDepth) return true;
    reason_ = fmt::format("nested more than {} levels deep", kMaxDepth);
    return false;
  }
  bool leave() {
    --depth_;
    return true;
  }

  std::size_t depth_ = 0;
  std::string reason_;
};

JsonSyntaxError at(std::string_view text, std::size_t offset, std::string what) {
  const std::string_view before = text.substr(0, std::min(offset, text.size()));
  const std::size_t lineStart = before.rfind('\n') + 1;  // 0 when there is none
  const auto isCharacter = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
  const std::string_view line = before.substr(lineStart);
  return {1 + static_cast<std::size_t>(std::ranges::count(before, '\n')),
          1 + static_cast<std::size_t>(std::ranges::count_if(line, isCharacter)), std::move(what)};
}

std::string describe(const rapidjson::ParseResult& result, std::string_view text,
                     simdjson::error_code code, const std::string& stricter) {
  switch (result.Code()) {
    case rapidjson::kParseErrorTermination:
      return stricter;
    case rapidjson::kParseErrorNumberTooBig:
      return kTooLarge;
    case rapidjson::kParseErrorStringInvalidEncoding:
    case rapidjson::kParseErrorStringEscapeInvalid:
      if (result.Offset() < text.size() &&
          static_cast<std::uint8_t>(text[result.Offset()]) < 0x20) {
        return "a control character in a string, which has to be written as \\u00XX";
      }
      if (code == simdjson::UTF8_ERROR) return "text that is not UTF-8";
      break;
    default:
      break;
  }
  std::string what = rapidjson::GetParseError_En(result.Code());
  if (!what.empty() && what.back() == '.') what.pop_back();
  return what;
}

}  // namespace

JsonSyntaxError locateJsonSyntaxError(std::string_view text, simdjson::error_code code) {
  rapidjson::Reader reader;
  rapidjson::MemoryStream stream(text.data(), text.size());
  StricterThanTheGrammar handler;
  // Iterative, for the text may be nested as deep as it is long.
  constexpr unsigned kFlags = rapidjson::kParseIterativeFlag |
                              rapidjson::kParseValidateEncodingFlag |
                              rapidjson::kParseNumbersAsStringsFlag;
  const rapidjson::ParseResult result = reader.Parse<kFlags>(stream, handler);
  if (result.IsError()) {
    return at(text, result.Offset(), describe(result, text, code, handler.reason()));
  }
  // RapidJSON takes a zero byte for the end of the text.
  if (const std::size_t zero = text.find('\0'); zero != std::string_view::npos) {
    return at(text, zero, "a zero byte");
  }
  return {0, 0, simdjson::error_message(code)};
}

}  // namespace KorvoAgent

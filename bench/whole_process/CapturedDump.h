// A dump of the agent, taken apart into what a program that prints it anew would hold.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace KorvoBench {

enum class Format : std::uint8_t { text, json };

std::string_view formatName(Format format) noexcept;
/** The request line of a software MAC table dump in that format. */
std::string_view dumpLine(Format format) noexcept;

/** One row: numbers as numbers, words as C strings. */
struct DumpRow {
  std::uint64_t mac;
  std::uint64_t bitmap;
  const char* intf;
  const char* type;
  const char* source;
  const char* flagWords;  ///< in JSON, between the brackets of the list
  const char* keyType;
  std::uint16_t vlan;
  std::uint16_t mcastId;
  std::uint16_t flags;  ///< in text
};

class CapturedDump {
 public:
  /**
   * Takes `bytes` apart. Throws std::runtime_error unless there are exactly `rows` rows and every
   * cell is of the kind that made-up tables have (no multicast group, nothing outside a VLAN):
   * what prints the rows anew need not know more.
   */
  CapturedDump(std::string bytes, Format format, std::uint64_t rows);
  CapturedDump(const CapturedDump&) = delete;
  CapturedDump& operator=(const CapturedDump&) = delete;

  Format format() const noexcept { return format_; }
  const std::string& bytes() const noexcept { return bytes_; }
  /** What stands before the first row and after the last one. */
  std::string_view head() const noexcept { return std::string_view(bytes_).substr(0, headSize_); }
  std::string_view tail() const noexcept { return std::string_view(bytes_).substr(tailStart_); }
  const std::vector<DumpRow>& rows() const noexcept { return rows_; }

 private:
  void parseText();
  void parseJson();
  const char* word(std::string_view text);

  Format format_;
  std::string bytes_;
  std::size_t headSize_ = 0;
  std::size_t tailStart_ = 0;
  std::vector<DumpRow> rows_;
  std::unordered_set<std::string> words_;  // each once; their addresses stay
};

}  // namespace KorvoBench

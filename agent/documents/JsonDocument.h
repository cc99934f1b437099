// A JSON document read whole from a file.
#pragma once

#include <simdjson.h>

#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <string_view>

namespace KorvoAgent {

class JsonDocument {
 public:
  /**
   * Reads and parses the file at `path`, "-" being standard input. Throws DocumentError when it
   * cannot be read, is too large or is no JSON in UTF-8.
   */
  explicit JsonDocument(const std::string& path);

  /** The path as messages show it. */
  const std::string& name() const noexcept { return name_; }
  simdjson::dom::element root() const noexcept { return root_; }

 private:
  std::string name_;
  simdjson::dom::parser parser_;  // holds what root_ refers to
  simdjson::dom::element root_;
};

/** Throws DocumentError: there is no memory for the document at `path` or for what it describes. */
[[noreturn]] void refuseForMemory(const std::string& path);

/** Calls `read(const JsonDocument&)`; running out of memory is the document's fault. */
template <class Read>
void readDocument(const std::string& path, Read&& read) {
  try {
    const JsonDocument document(path);
    read(document);
  } catch (const std::bad_alloc&) {
    refuseForMemory(path);
  }
}

/** Where and why a text is no JSON. Columns count characters. */
struct JsonSyntaxError {
  std::size_t line;  ///< from 1; 0 when the place is not known
  std::size_t column;
  std::string what;
};

/** Finds the place at which a text that simdjson refused with `code` stops being JSON. */
JsonSyntaxError locateJsonSyntaxError(std::string_view text, simdjson::error_code code);

}  // namespace KorvoAgent

// Any bytes as names and values: the JSON that comes out is read back by a strict parser, and a
// row of text stays one line.

#include <simdjson.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "fuzz/Check.h"
#include "platform/rendering/RendererV2.h"
#include "text/Printable.h"

namespace {

using KorvoFuzz::check;

class Collected final : public Rendering::OutputPort {
 public:
  explicit Collected(std::string& text) : text_(text) {}
  std::ptrdiff_t send(const char* data, std::size_t size) override {
    text_.append(data, size);
    return static_cast<std::ptrdiff_t>(size);
  }

 private:
  std::string& text_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::string_view first = bytes.substr(0, size / 2);
  const std::string_view second = bytes.substr(size / 2);
  std::string json;
  {
    const auto buffer = Qel::makePtr<Rendering::PrintBuffer>(
        std::make_unique<Collected>(json), 0U, std::size_t{256}, Rendering::PrintBuffer::kStream);
    const auto renderer = Qel::makePtr<Rendering::RendererV2>(Rendering::kJson, buffer, false);
    Rendering::RendererV2& out = *renderer;
    out.openObject();
    out.member("value", first);
    out.openList("list");
    out.element(first);
    out.element(second);
    out.closeList();
    out.openObject(second);
    out.member(first, true);
    out.closeObject();
    out.closeObject();
    out.documentEnd();
    out.ioflush();
  }
  simdjson::dom::parser parser;
  simdjson::dom::element document;
  const auto error = parser.parse(json).get(document);
  check(error == simdjson::SUCCESS, simdjson::error_message(error), json);
  std::string_view value;
  check(document["value"].get(value) == simdjson::SUCCESS, "the value is no string", json);
  if (simdjson::validate_utf8(first.data(), first.size())) {
    check(value == first, "a text that came out as another one", json);
  }
  const std::string cell = Text::printable(bytes);
  check(Text::isPrintable(cell), "a cell that may not be shown", cell);
  check(Text::isPrintable(std::string_view(json).substr(0, json.size() - 1)),
        "a document that may not be shown", json);
  return 0;
}

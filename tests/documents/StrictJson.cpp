#include "tests/documents/StrictJson.h"

#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

#include <set>
#include <vector>

namespace KorvoL2::Testing {

namespace {

class Members : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Members> {
 public:
  explicit Members(const std::string& repeatedKeyIn) : repeatedKeyIn_(repeatedKeyIn) {}

  bool StartObject() {
    objects_.push_back({.name = lastKey_});
    return true;
  }
  bool Key(const char* text, rapidjson::SizeType length, bool) {
    lastKey_.assign(text, length);
    Object& object = objects_.back();
    const bool mayRepeat =
        lastKey_ == "1" && !repeatedKeyIn_.empty() && object.name == repeatedKeyIn_;
    if (object.keys.insert(lastKey_).second || mayRepeat) return true;
    fault_ = "member \"" + lastKey_ + "\" twice in \"" + object.name + "\"";
    return false;
  }
  bool EndObject(rapidjson::SizeType) {
    objects_.pop_back();
    return true;
  }

  const std::string& fault() const noexcept { return fault_; }

 private:
  struct Object {
    std::string name;
    std::set<std::string> keys{};
  };

  const std::string& repeatedKeyIn_;
  std::vector<Object> objects_;
  std::string lastKey_;
  std::string fault_;
};

}  // namespace

std::string jsonFault(const std::string& text, const std::string& repeatedKeyIn) {
  if (text.find('\0') != std::string::npos) return "a zero byte";
  Members members(repeatedKeyIn);
  rapidjson::Reader reader;
  rapidjson::StringStream stream(text.c_str());
  const auto result = reader.Parse<rapidjson::kParseValidateEncodingFlag>(stream, members);
  if (!members.fault().empty()) return members.fault();
  if (!result.IsError()) return "";
  return "at byte " + std::to_string(result.Offset()) + ": " +
         rapidjson::GetParseError_En(result.Code());
}

}  // namespace KorvoL2::Testing

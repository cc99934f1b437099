// Walks the setters of a machine or callback: each publishes its attribute once for a change and
// not at all for an equal value. The headers are read as well, so that no setter can be forgotten.
#pragma once

#include <gmock/gmock.h>

#include <fstream>
#include <functional>
#include <initializer_list>
#include <regex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/base/Entity.h"

namespace KorvoL2::Testing {

struct Setter {
  std::string name;              ///< of the setter: "detailIs"
  std::string attribute;         ///< what it publishes
  std::function<void()> change;  ///< calls it with another value than before
  /** Calls it with the value that is stored by now; empty for the same call once more. */
  std::function<void()> repeat = nullptr;
};

/** The setter `attribute`Is. */
inline Setter setter(const std::string& attribute, std::function<void()> change) {
  return {attribute + "Is", attribute, std::move(change)};
}

/** A header without what its classes keep from others and without its macros. */
inline std::string publicParts(std::istream&& header) {
  std::string parts;
  bool hidden = false;
  bool inMacro = false;
  for (std::string line; std::getline(header, line);) {
    const bool isMacro = inMacro || line.starts_with("#define");
    inMacro = isMacro && line.ends_with("\\");
    if (isMacro) continue;
    if (line == " protected:" || line == " private:") hidden = true;
    if (line == " public:" || line == "};") hidden = false;
    if (!hidden) parts.append("\n").append(line);
  }
  return parts;
}

/** The names of the public setters that the classes of these headers of the tree declare. */
inline std::set<std::string> settersDeclaredIn(std::initializer_list<std::string_view> headers) {
  struct Form {
    const char* pattern;
    std::vector<const char*> endings;  ///< of the setters that it stands for
  };
  const std::vector<Form> forms{
      {R"(QEL_ATTRIBUTE\([^()]*,\s*(\w+)\))", {"Is"}},
      {R"(QEL_COUNTER\([^()]*,\s*(\w+)\))", {"Is", "Inc"}},
      {R"(QEL_SET_ATTRIBUTE\([^()]*,\s*(\w+)\))", {"Is", "Del", "DelAll"}},
      {R"(KORVO_L2_WALK\([^()]*,\s*(\w+)\))", {"Is"}},
      {R"(KORVO_L2_SECTION\([^()]*,\s*(\w+)\))", {"StartedIs", "CompleteIs", "BookmarkIs"}},
      {R"(\n  (?:KORVO_L2_API )?void (\w+(?:Is|Inc|Del|DelAll))\()", {""}},
  };
  std::set<std::string> names;
  for (const std::string_view header : headers) {
    const std::string source =
        publicParts(std::ifstream(std::string(KORVO_SOURCE_DIR "/").append(header)));
    EXPECT_NE(source, "") << header;
    for (const Form& form : forms) {
      const std::regex pattern(form.pattern);
      for (std::sregex_iterator it(source.begin(), source.end(), pattern), end; it != end; ++it) {
        for (const char* const ending : form.endings) names.insert((*it)[1].str() + ending);
      }
    }
  }
  return names;
}

/** `declared` are the setters of the entity's class. */
inline void expectSettersPublish(Qel::Entity& entity, const std::vector<Setter>& setters,
                                 const std::set<std::string>& declared) {
  std::vector<std::string> heard;
  const auto subscription = entity.publisher().subscribe(
      [&heard](const Qel::Entity&, std::string_view attribute) { heard.emplace_back(attribute); });
  std::set<std::string> walked;
  for (const Setter& each : setters) {
    walked.insert(each.name);
    heard.clear();
    each.change();
    EXPECT_THAT(heard, ::testing::ElementsAre(each.attribute)) << each.name;
    (each.repeat == nullptr ? each.change : each.repeat)();
    EXPECT_EQ(heard.size(), 1U) << each.name << " published an equal value";
  }
  EXPECT_EQ(walked, declared) << entity.typeData().name;
  entity.publisher().cancel(subscription);
}

}  // namespace KorvoL2::Testing

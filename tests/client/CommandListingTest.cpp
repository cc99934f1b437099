#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <set>
#include <sstream>
#include <string>

#include "client/CommandListing.h"
#include "client/CommandTable.h"
#include "client/CommandTree.h"

namespace KorvoCtl {
namespace {

using testing::HasSubstr;

TEST(CommandListingTest, NamesEveryCommandWithItsKeyword) {
  const std::string list = listCommands(false);
  for (const CommandRow& row : commandTable()) {
    EXPECT_THAT(list, HasSubstr("\n" + synopsis(row) + " ")) << row.path;
    EXPECT_THAT(list, HasSubstr(" " + std::string(row.keyword.empty() ? "-" : row.keyword) + "\n"));
  }
  EXPECT_THAT(list, HasSubstr("\nshow multicast groups hardware --index N "));
  EXPECT_THAT(list, HasSubstr(" HW_MCAST_MCIDX+N\n"));
}

TEST(CommandListingTest, ColumnsBeginWhereTheirHeadsDo) {
  std::istringstream lines(listCommands(false));
  std::string head;
  std::getline(lines, head);
  const std::size_t entry = head.find("ENTRY");
  const std::size_t keyword = head.find("KEYWORD");
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    if (line.starts_with("    ")) {
      continue;
    }
    ASSERT_GT(line.size(), keyword) << line;
    for (const std::size_t column : {entry, keyword}) {
      EXPECT_EQ(line[column - 1], ' ') << line;
      EXPECT_NE(line[column], ' ') << line;
    }
  }
  EXPECT_GE(count, static_cast<int>(commandTable().size()));
}

TEST(CommandListingTest, SyntaxStandsBelowWhereThereIsMoreThanAKeyword) {
  const std::string list = listCommands(false);
  EXPECT_THAT(list, HasSubstr(" MACT_DIFF\n    MACT_DIFF[ detail]LIST\n"));
  EXPECT_THAT(list, HasSubstr(" MACT_ALL\nshow mac hardware "));
  EXPECT_THAT(list, HasSubstr(" cancel\n    cancel N\n"));
}

TEST(CommandListingTest, NoLineIsWiderThanATerminal) {
  std::istringstream lines(listCommands(false));
  for (std::string line; std::getline(lines, line);) {
    EXPECT_LE(line.size(), 80U) << line;
  }
}

TEST(CommandListingTest, JsonHoldsTheWholeTable) {
  rapidjson::Document document;
  document.Parse(listCommands(true).c_str());
  ASSERT_TRUE(document.IsObject());
  const auto& list = document["commands"];
  const auto rows = commandTable();
  ASSERT_EQ(list.Size(), rows.size());
  for (rapidjson::SizeType i = 0; i < list.Size(); ++i) {
    const auto& command = list[i];
    EXPECT_EQ(command["command"].GetString(), rows[i].path);
    EXPECT_EQ(command["usage"].GetString(), "korvoctl " + usage(rows[i]));
    EXPECT_EQ(command["summary"].GetString(), rows[i].summary);
    EXPECT_EQ(command["json"].GetBool(), rows[i].takesJson());
    EXPECT_EQ(command["entry"].IsNull(), !rows[i].entry);
    EXPECT_EQ(command["syntax"].IsNull(), !rows[i].entry);
    EXPECT_EQ(rows[i].entry ? command["syntax"].GetString() : "", syntax(rows[i]));
    EXPECT_EQ(command["arguments"].Size(), rows[i].positionals.size());
    ASSERT_EQ(command["options"].Size(), rows[i].options.size());
    for (rapidjson::SizeType j = 0; j < command["options"].Size(); ++j) {
      EXPECT_EQ(command["options"][j]["name"].GetString(), rows[i].options[j].name);
      EXPECT_EQ(command["options"][j]["keyword"].IsNull(), !rows[i].options[j].replacesKeyword);
    }
  }
  EXPECT_EQ(document["commonOptions"].Size(), commonOptions().size());
  EXPECT_STREQ(document["commonOptions"][1]["name"].GetString(), "--socket");
}

}  // namespace
}  // namespace KorvoCtl

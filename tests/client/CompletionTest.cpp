// That the scripts know the table; what they do in a shell is seen where one runs them.
#include <gtest/gtest.h>

#include <string>

#include "client/CommandTable.h"
#include "client/Completion.h"

namespace KorvoCtl {
namespace {

TEST(CompletionTest, ScriptsKnowEveryCommandAndItsOptions) {
  for (const char* shell : {"bash", "zsh"}) {
    const std::string script = completionScript(shell);
    for (const CommandRow& row : commandTable()) {
      const std::string wanted = "'" + std::string(row.path) + "')";
      EXPECT_NE(script.find(wanted), std::string::npos) << shell << ": " << wanted;
      for (const CommandOption& option : row.options) {
        EXPECT_NE(script.find(option.name), std::string::npos) << shell << ": " << option.name;
      }
    }
    for (const char* gap : {"@AFTER@", "@TAKES@", "@ENTRIES@", "@FORMATS@", "@COMMON@"}) {
      EXPECT_EQ(script.find(gap), std::string::npos) << shell << ": " << gap;
    }
  }
}

}  // namespace
}  // namespace KorvoCtl

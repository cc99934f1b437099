#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "agent/plugin/PluginLoader.h"

namespace KorvoAgent {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;

std::string errorOf(const std::string& file) {
  try {
    loadPlugin(file);
  } catch (const PluginError& e) {
    return e.what();
  }
  return "no error";
}

TEST(PluginLoaderTest, APluginOfThisVersionMakesItsCallbacks) {
  const AgentCommand::PluginEntry entry = loadPlugin(KORVO_SMALL_PLUGIN);
  EXPECT_STREQ(entry.pluginName, "small");
  const auto plain = entry.cliCallback("agent");
  ASSERT_NE(plain, nullptr);
  EXPECT_EQ(plain->name(), "agent");
  EXPECT_EQ(plain->secondName(), "small");
  EXPECT_NE(entry.cliCallbackWithFormat("agent"), nullptr);
}

TEST(PluginLoaderTest, APluginOfAnotherVersionIsRefusedWithBothVersions) {
  EXPECT_THAT(errorOf(KORVO_OTHER_VERSION_PLUGIN),
              AllOf(HasSubstr(KORVO_OTHER_VERSION_PLUGIN),
                    HasSubstr("has interface version 4711, this agent needs version " +
                              std::to_string(AgentCommand::kPluginInterfaceVersion))));
}

TEST(PluginLoaderTest, ALibraryThatIsNoPluginIsRefused) {
  EXPECT_THAT(errorOf(KORVO_NO_PLUGIN),
              AllOf(HasSubstr(KORVO_NO_PLUGIN), HasSubstr("does not export korvoPluginEntry")));
}

TEST(PluginLoaderTest, AFileThatCannotBeLoadedIsNamedWithTheReason) {
  EXPECT_THAT(errorOf("/nowhere/plugin.so"),
              AllOf(HasSubstr("cannot load plug-in /nowhere/plugin.so: "),
                    HasSubstr("No such file or directory")));
  EXPECT_THAT(errorOf("/dev/null"), HasSubstr("cannot load plug-in /dev/null: "));
  // Not looked for in the system's folders, and not this program itself.
  EXPECT_THAT(errorOf("libc.so.6"), HasSubstr("cannot load plug-in libc.so.6: "));
  EXPECT_THAT(errorOf(""), HasSubstr("cannot load plug-in "));
}

TEST(PluginLoaderTest, TheInstalledPluginIsBesideTheProgram) {
  EXPECT_THAT(defaultPluginPaths("/opt/korvo/bin"),
              Contains("/opt/korvo/lib/libKorvoL2CliCallbacks.so"));
}

}  // namespace
}  // namespace KorvoAgent

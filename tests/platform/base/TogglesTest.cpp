#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "platform/base/Exceptions.h"
#include "platform/base/Toggles.h"
#include "platform/base/Trace.h"
#include "tests/support/CapturingTraceSink.h"

namespace Qel {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;

class TogglesTest : public testing::Test {
 protected:
  void SetUp() override {
    const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
    folder_ = std::filesystem::path(testing::TempDir()) /
              ("toggles." + std::to_string(::getpid()) + "." + test->name());
    std::filesystem::create_directories(folder_);
    forgetTogglesForTest();
    toggleDirectoryIs(folder_);
    sinkBefore_ = traceSinkIs(sink_);
    traceHandle("Toggles").levelIs(1);
  }
  void TearDown() override {
    traceHandle("Toggles").levelIs(0);
    traceSinkIs(sinkBefore_);
    forgetTogglesForTest();
    std::filesystem::remove_all(folder_);
  }

  void write(const std::string& file, const std::string& text) {
    std::ofstream(folder_ / file) << text;
  }

  std::filesystem::path folder_;
  std::shared_ptr<CapturingTraceSink> sink_ = std::make_shared<CapturingTraceSink>();
  std::shared_ptr<TraceSink> sinkBefore_;
};

TEST_F(TogglesTest, StateIsWhatTheFileSays) {
  write("KorvoL2.json", R"({"On": true, "Off": false})");
  EXPECT_TRUE(getToggleState("On", "KorvoL2.json", false));
  EXPECT_FALSE(getToggleState("Off", "KorvoL2.json", true));
  EXPECT_TRUE(sink_->lines().empty());
}

TEST_F(TogglesTest, MissingFileOrMemberGivesTheDefaultSilently) {
  write("KorvoL2.json", R"({"Other": true})");
  EXPECT_TRUE(getToggleState("A", "KorvoL2.json", true));
  EXPECT_FALSE(getToggleState("B", "KorvoL2.json", false));
  EXPECT_TRUE(getToggleState("A", "absent.json", true));
  EXPECT_FALSE(getToggleState("B", "absent.json", false));
  EXPECT_TRUE(sink_->lines().empty());
}

TEST_F(TogglesTest, BrokenFileGivesTheDefaultAndSaysWhy) {
  write("broken.json", R"({"A": true)");
  EXPECT_TRUE(getToggleState("A", "broken.json", true));
  EXPECT_FALSE(getToggleState("B", "broken.json", false));
  const std::string path = folder_ / "broken.json";
  // What the parser calls the fault is its own affair; where it is, is not.
  EXPECT_THAT(sink_->messages(), ElementsAre(AllOf(StartsWith("toggle file " + path + ": "),
                                                   EndsWith(" at byte 10; A keeps its default")),
                                             EndsWith(" at byte 10; B keeps its default")));
}

TEST_F(TogglesTest, FileThatIsNoObjectGivesTheDefaultAndSaysWhy) {
  write("list.json", "[true]");
  EXPECT_TRUE(getToggleState("A", "list.json", true));
  EXPECT_TRUE(sink_->contains("toggle file " + std::string(folder_ / "list.json") +
                              " is no JSON object; A keeps its default"));
}

TEST_F(TogglesTest, MemberThatIsNoBooleanGivesTheDefaultAndSaysWhy) {
  write("KorvoL2.json", R"({"A": 1, "B": "true", "C": true})");
  EXPECT_FALSE(getToggleState("A", "KorvoL2.json", false));
  EXPECT_FALSE(getToggleState("B", "KorvoL2.json", false));
  EXPECT_TRUE(getToggleState("C", "KorvoL2.json", false));
  EXPECT_TRUE(sink_->contains("toggle file " + std::string(folder_ / "KorvoL2.json") +
                              ": A is neither true nor false; it keeps its default"));
  EXPECT_EQ(sink_->lines().size(), 2U);
}

TEST_F(TogglesTest, FileThatIsThereButCannotBeReadSaysSo) {
  std::filesystem::create_symlink("loop.json", folder_ / "loop.json");
  std::filesystem::create_directory(folder_ / "folder.json");
  EXPECT_TRUE(getToggleState("A", "loop.json", true));
  EXPECT_EQ(sink_->lines().size(), 1U);
  EXPECT_FALSE(getToggleState("A", "folder.json", false));
  EXPECT_EQ(sink_->lines().size(), 2U);
}

TEST_F(TogglesTest, DeeplyNestedFileIsNoDanger) {
  write("deep.json", std::string(1'000'000, '['));
  EXPECT_TRUE(getToggleState("A", "deep.json", true));
  EXPECT_EQ(sink_->lines().size(), 1U);
}

TEST_F(TogglesTest, FirstAnswerIsKept) {
  write("KorvoL2.json", R"({"A": true})");
  EXPECT_TRUE(getToggleState("A", "KorvoL2.json", false));
  EXPECT_FALSE(getToggleState("B", "KorvoL2.json", false));
  write("KorvoL2.json", R"({"A": false, "B": true})");
  EXPECT_TRUE(getToggleState("A", "KorvoL2.json", false));
  // A default that was given is the state from then on, whatever default comes later.
  EXPECT_FALSE(getToggleState("B", "KorvoL2.json", true));
  toggleDirectoryIs("/nowhere");
  EXPECT_TRUE(getToggleState("A", "KorvoL2.json", false));
}

TEST_F(TogglesTest, SameNameInAnotherFileIsAnotherToggle) {
  write("one.json", R"({"A": true})");
  write("two.json", R"({"A": false})");
  EXPECT_TRUE(getToggleState("A", "one.json", false));
  EXPECT_FALSE(getToggleState("A", "two.json", true));
}

TEST_F(TogglesTest, ToggleMayBeSetWithoutAFile) {
  write("KorvoL2.json", R"({"A": false})");
  toggleStateIs("A", "KorvoL2.json", true);
  toggleStateIs("A", "KorvoL2.json", true);
  EXPECT_TRUE(getToggleState("A", "KorvoL2.json", false));
}

TEST_F(TogglesTest, ToggleThatWasReadCannotBeSetOtherwise) {
  write("KorvoL2.json", R"({"A": false})");
  EXPECT_FALSE(getToggleState("A", "KorvoL2.json", true));
  toggleStateIs("A", "KorvoL2.json", false);
  EXPECT_THROW(toggleStateIs("A", "KorvoL2.json", true), AssertionException);
  EXPECT_FALSE(getToggleState("A", "KorvoL2.json", true));
}

}  // namespace
}  // namespace Qel

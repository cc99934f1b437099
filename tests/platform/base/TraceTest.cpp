#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "platform/base/Exceptions.h"
#include "platform/base/Trace.h"
#include "tests/support/CapturingTraceSink.h"

namespace {

// Counts how often it is formatted.
struct Costly {
  int* formatted;
};
// Its formatting fails.
struct Broken {};

}  // namespace

template <>
struct fmt::formatter<Costly> : fmt::formatter<int> {
  template <class Context>
  auto format(const Costly& costly, Context& context) const {
    return fmt::formatter<int>::format(++*costly.formatted, context);
  }
};
template <>
struct fmt::formatter<Broken> : fmt::formatter<int> {
  template <class Context>
  auto format(const Broken&, Context& context) const -> decltype(context.out()) {
    throw fmt::format_error("cannot be shown");
  }
};

namespace Qel {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

class TraceTest : public testing::Test {
 protected:
  void SetUp() override { sinkBefore_ = traceSinkIs(sink_); }
  void TearDown() override {
    traceSinkIs(sinkBefore_);
    handle_.levelIs(0);
  }

  TraceHandle& handle_ = traceHandle("TraceTest");
  std::shared_ptr<CapturingTraceSink> sink_ = std::make_shared<CapturingTraceSink>();
  std::shared_ptr<TraceSink> sinkBefore_;
};

TEST_F(TraceTest, HandleIsOnePerName) {
  EXPECT_EQ(&traceHandle("TraceTest"), &handle_);
  EXPECT_NE(&traceHandle("TraceTest2"), &handle_);
  EXPECT_EQ(handle_.name(), "TraceTest");
}

TEST_F(TraceTest, HandleIsOffAtFirst) {
  EXPECT_EQ(traceHandle("TraceTestFresh").level(), 0);
  QEL_TRACE(handle_, 1, "not written");
  EXPECT_THAT(sink_->messages(), IsEmpty());
}

TEST_F(TraceTest, LineIsWrittenUpToTheHandlesLevel) {
  handle_.levelIs(5);
  for (int level = 1; level <= 9; ++level) QEL_TRACE(handle_, level, "level {}", level);
  EXPECT_THAT(sink_->messages(),
              ElementsAre("level 1", "level 2", "level 3", "level 4", "level 5"));
}

TEST_F(TraceTest, LevelThatIsOffCostsNoFormattingAndEvaluatesNothing) {
  int formatted = 0;
  int evaluated = 0;
  const auto argument = [&] {
    ++evaluated;
    return Costly{&formatted};
  };
  handle_.levelIs(7);
  QEL_TRACE(handle_, 8, "{}", argument());
  EXPECT_EQ(evaluated, 0);
  EXPECT_EQ(formatted, 0);
  QEL_TRACE(handle_, 7, "{}", argument());
  EXPECT_EQ(evaluated, 1);
  EXPECT_EQ(formatted, 1);
}

class Machine {
 public:
  int run(TraceHandle& handle) const {
    QEL_TRACE(handle, 8, "socket:{}, format:{}", 7, 2);
    return __LINE__ - 1;
  }
};

TEST_F(TraceTest, RecordTellsWhereTheLineComesFrom) {
  handle_.levelIs(8);
  const int line = Machine().run(handle_);
  ASSERT_EQ(sink_->lines().size(), 1U);
  const CapturingTraceSink::Line& record = sink_->lines().front();
  EXPECT_EQ(record.handle, "TraceTest");
  EXPECT_EQ(record.level, 8);
  EXPECT_EQ(record.unit, "TraceTest.cpp");
  EXPECT_EQ(record.function, "run");
  EXPECT_EQ(record.line, line);
  EXPECT_EQ(record.message, "socket:7, format:2");
}

/** Code that several share: its lines are its callers'. */
void shared(TraceHandle& handle, const TraceSite& site) { QEL_TRACE_AT(handle, 8, site, "shared"); }

TEST_F(TraceTest, SharedCodeTracesForItsCaller) {
  handle_.levelIs(8);
  const int line = __LINE__ + 1;
  shared(handle_, TraceSite("A::B"));
  ASSERT_EQ(sink_->lines().size(), 1U);
  const CapturingTraceSink::Line& record = sink_->lines().front();
  EXPECT_EQ(record.unit, "TraceTest.cpp");
  EXPECT_EQ(record.className, "A::B");
  EXPECT_EQ(record.function, "TestBody");
  EXPECT_EQ(record.line, line);
}

TEST_F(TraceTest, SiteIsNotMadeForALineThatIsNotWritten) {
  int made = 0;
  const auto site = [&made] {
    ++made;
    return TraceSite("A");
  };
  handle_.levelIs(7);
  QEL_TRACE_AT(handle_, 8, site(), "");
  EXPECT_EQ(made, 0);
}

TEST(TraceNameTest, ClassIsThatOfTheSignatureWhereItTells) {
  using Detail::className;
  EXPECT_EQ(className("void KorvoL2::CliCallback::handleCommand(unsigned int)", "handleCommand"),
            "KorvoL2::CliCallback");
  EXPECT_EQ(className("virtual bool A::f() const", "f"), "A");
  EXPECT_EQ(className("static const B& A::f(int)", "f"), "A");
  EXPECT_EQ(className("B *A::f(int)", "f"), "A");
  EXPECT_EQ(className("A::~A()", "~A"), "A");
  EXPECT_EQ(className("int main(int, char**)", "main"), "");
  // A function in an unnamed namespace, of a template, a lambda: each compiler has its own way.
  EXPECT_EQ(className("void {anonymous}::A::f()", "f"), "");
  EXPECT_EQ(className("void (anonymous namespace)::A::f()", "f"), "");
  EXPECT_EQ(className("void A<T>::f() [with T = int]", "f"), "");
  EXPECT_EQ(className("A::f()::<lambda(int)>", "operator()"), "");
  EXPECT_EQ(className("auto A::f()::(anonymous class)::operator()(int) const", "operator()"), "");
  EXPECT_EQ(className("", "f"), "");
}

TEST(TraceNameTest, UnitIsNamedWithoutItsFolder) {
  EXPECT_EQ(TraceSite("", "platform/base/Trace.cpp").unit(), "Trace.cpp");
  EXPECT_EQ(TraceSite("", "Trace.cpp").unit(), "Trace.cpp");
}

TEST_F(TraceTest, EmptyMessageIsALine) {
  handle_.levelIs(8);
  QEL_TRACE(handle_, 8, "");
  EXPECT_THAT(sink_->messages(), ElementsAre(""));
}

TEST_F(TraceTest, FormattingThatFailsLosesTheLineOnly) {
  handle_.levelIs(8);
  EXPECT_NO_THROW(QEL_TRACE(handle_, 8, "{}", Broken{}));
  QEL_TRACE(handle_, 8, "next");
  EXPECT_THAT(sink_->messages(), ElementsAre("next"));
}

TEST_F(TraceTest, SettingNamesHandleAndLevel) {
  traceSettingIs("TraceTest=8");
  EXPECT_EQ(handle_.level(), 8);
  traceSettingIs("TraceTest=0");
  EXPECT_EQ(handle_.level(), 0);
  traceSettingIs("TraceTest=9");
  EXPECT_EQ(handle_.level(), 9);
}

TEST_F(TraceTest, SettingThatCannotBeReadIsRefusedAndChangesNothing) {
  handle_.levelIs(3);
  for (const char* setting : {"TraceTest", "TraceTest=", "TraceTest=10", "TraceTest=-1",
                              "TraceTest=+1", "TraceTest=8x", "TraceTest= 8", "=8", "", "="}) {
    try {
      traceSettingIs(setting);
      ADD_FAILURE() << setting << " was accepted";
    } catch (const ParseException& e) {
      EXPECT_EQ(std::string(e.what()),
                "\"" + std::string(setting) +
                    "\" is no trace setting: write HANDLE=LEVEL with a level from 0 to 9, for "
                    "example KorvoL2CliCallbacks=8");
    }
  }
  EXPECT_EQ(handle_.level(), 3);
}

TEST_F(TraceTest, SettingOfAHandleThatThereIsNotIsRefusedWithThoseThatThereAre) {
  try {
    traceSettingIs("TraceTets=8");
    ADD_FAILURE() << "was accepted";
  } catch (const ParseException& e) {
    EXPECT_THAT(e.what(),
                ::testing::StartsWith("there is no trace handle \"TraceTets\"; there are "));
    EXPECT_THAT(e.what(), ::testing::HasSubstr("TraceTest"));
    // What reads toggles may trace, and has not yet.
    EXPECT_THAT(e.what(), ::testing::HasSubstr("Toggles"));
  }
  // Asking has not made one either.
  EXPECT_THROW(traceSettingIs("TraceTets=8"), ParseException);
}

TEST_F(TraceTest, SinkIsReplacedAndHandedBack) {
  handle_.levelIs(1);
  const auto other = std::make_shared<CapturingTraceSink>();
  EXPECT_EQ(traceSinkIs(other), sink_);
  QEL_TRACE(handle_, 1, "to the other");
  EXPECT_EQ(traceSinkIs(sink_), other);
  QEL_TRACE(handle_, 1, "to the first");
  EXPECT_THAT(other->messages(), ElementsAre("to the other"));
  EXPECT_THAT(sink_->messages(), ElementsAre("to the first"));
}

TEST_F(TraceTest, CapturingSinkCountsAndForgets) {
  handle_.levelIs(1);
  for (const char* message : {"a", "b", "a"}) QEL_TRACE(handle_, 1, "{}", message);
  EXPECT_EQ(sink_->count("a"), 2U);
  EXPECT_TRUE(sink_->contains("b"));
  EXPECT_FALSE(sink_->contains("c"));
  sink_->clear();
  EXPECT_FALSE(sink_->contains("a"));
}

TEST_F(TraceTest, StandardErrorIsTheSinkOfThoseWhoSetNone) {
  handle_.levelIs(8);
  traceSinkIs(nullptr);
  testing::internal::CaptureStderr();
  const int line = Machine().run(handle_);
  const std::string written = testing::internal::GetCapturedStderr();
  EXPECT_THAT(written, testing::StartsWith("TraceTest 8 TraceTest.cpp "));
  EXPECT_THAT(written, EndsWith("run:" + std::to_string(line) + " socket:7, format:2\n"));
}

TEST(TraceRecordTest, TextHoldsEveryField) {
  const TraceSite site("A", "some/Unit.cpp", "f", 12);
  EXPECT_EQ((TraceRecord{"Handle", 8, site, "the message"}).text(),
            "Handle 8 Unit.cpp A::f:12 the message");
  const TraceSite free("", "some/Unit.cpp", "f", 12);
  EXPECT_EQ((TraceRecord{"Handle", 8, free, "the message"}).text(),
            "Handle 8 Unit.cpp f:12 the message");
}

class FileTraceSinkTest : public testing::Test {
 protected:
  void SetUp() override {
    const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
    path_ = std::filesystem::path(testing::TempDir()) /
            ("trace." + std::to_string(::getpid()) + "." + test->name());
  }
  void TearDown() override { std::filesystem::remove(path_); }

  static TraceRecord record(std::string_view message) {
    return {"H", 1, TraceSite("", "U.cpp", "f", 1), message};
  }
  std::string contents() const {
    std::ostringstream text;
    text << std::ifstream(path_).rdbuf();
    return text.str();
  }

  std::filesystem::path path_;
};

TEST_F(FileTraceSinkTest, AppendsLines) {
  FileTraceSink(path_).write(record("one"));
  FileTraceSink sink(path_);
  sink.write(record("two"));
  sink.write(record("three"));
  EXPECT_EQ(contents(), "H 1 U.cpp f:1 one\nH 1 U.cpp f:1 two\nH 1 U.cpp f:1 three\n");
}

TEST_F(FileTraceSinkTest, FileThatCannotBeOpenedIsRefusedWithItsReason) {
  try {
    FileTraceSink sink("/nowhere/at/all");
    FAIL() << "opened";
  } catch (const Exception& e) {
    EXPECT_STREQ(e.what(), "cannot open trace file /nowhere/at/all: No such file or directory");
  }
}

TEST_F(FileTraceSinkTest, FullDiskLosesLinesOnly) {
  FileTraceSink sink("/dev/full");
  for (int i = 0; i < 100; ++i) sink.write(record("lost"));
}

// Lets files grow to `size` bytes and no further.
void fileLimitIs(rlim_t size) {
  rlimit limit{};
  ::getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = size;
  ::setrlimit(RLIMIT_FSIZE, &limit);
  std::signal(SIGXFSZ, SIG_IGN);
}

[[noreturn]] void writePastALimit(const std::string& path) {
  FileTraceSink sink(path);
  const auto write = [&sink](std::string_view message) {
    sink.write({"H", 1, TraceSite("", "U.cpp", "f", 1), message});
  };
  write("one");     // 18 bytes
  fileLimitIs(24);  // takes a part of the next line, then nothing
  write("two");
  write("three");
  fileLimitIs(RLIM_INFINITY);
  write("four");
  write("five");
  std::exit(0);
}

TEST_F(FileTraceSinkTest, LostLinesAreCountedOnceTheFileTakesLinesAgain) {
  // In a process of its own: the limit is the process's.
  EXPECT_EXIT(writePastALimit(path_), testing::ExitedWithCode(0), "");
  EXPECT_EQ(contents(),
            "H 1 U.cpp f:1 one\n"
            "H 1 U.\n"
            "(2 trace lines lost: the file took none)\n"
            "H 1 U.cpp f:1 four\n"
            "H 1 U.cpp f:1 five\n");
}

}  // namespace
}  // namespace Qel

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cstdio>
#include <string>

#include "platform/rendering/FixedLine.h"
#include "tests/platform/rendering/TextCapture.h"

namespace Rendering {
namespace {

template <class... Args>
std::string byPrintf(const char* format, Args... args) {
  char line[4096];
  const int length = std::snprintf(line, sizeof line, format, args...);
  return {line, static_cast<std::size_t>(length)};
}

TEST(FixedLineTest, PutsCellsSideBySideAndEndsTheLine) {
  TextCapture capture;
  FixedLine(capture.buffer()).left<8>("Et1").left<6>(10U).right<4>(1U).end();
  FixedLine(capture.buffer()).left<3>("").right<2>(0U).end();
  EXPECT_EQ(capture.take(), "Et1     10       1\n    0\n");
}

TEST(FixedLineTest, WiderContentKeepsItsTextAndPushesWhatFollows) {
  TextCapture capture;
  FixedLine(capture.buffer())
      .left<4>("Ethernet1")
      .left<2>(12345U)
      .right<2>(67890U)
      .left<3>("x")
      .end();
  EXPECT_EQ(capture.take(), "Ethernet11234567890x  \n");
}

RC_GTEST_PROP(FixedLineProperty, WritesTheBytesOfPrintf, ()) {
  const auto text = *rc::gen::container<std::string>(rc::gen::inRange<char>('!', '~'));
  const auto number = *rc::gen::oneOf(rc::gen::arbitrary<std::uint32_t>(),
                                      rc::gen::inRange<std::uint32_t>(0, 11000));
  TextCapture capture;
  FixedLine(capture.buffer())
      .left<8>(text)
      .left<15>(number)
      .left<4>(number)
      .right<4>(number)
      .right<10>(number)
      .left<1>(text)
      .end();
  RC_ASSERT(capture.take() == byPrintf("%-8s%-15u%-4u%4u%10u%-1s\n", text.c_str(), number, number,
                                       number, number, text.c_str()));
}

TEST(FixedLineTest, LinesFillABufferOfAnySize) {
  for (const std::size_t size : {std::size_t{1}, std::size_t{7}, std::size_t{64}}) {
    const auto script = std::make_shared<PortScript>();
    PrintBuffer buffer(std::make_unique<ScriptedPort>(script), 0U, size, PrintBuffer::kStream);
    std::string expected;
    for (unsigned i = 0; i < 500; ++i) {
      FixedLine(buffer).left<8>("Et1").right<4>(i).end();
      expected += byPrintf("%-8s%4u\n", "Et1", i);
    }
    buffer.flush();
    EXPECT_EQ(script->taken, expected);
  }
}

}  // namespace
}  // namespace Rendering

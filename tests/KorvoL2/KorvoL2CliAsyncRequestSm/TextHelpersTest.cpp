#include <gmock/gmock.h>

#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/TextHelpers.h"

namespace KorvoL2 {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> pieces(std::string_view text) {
  std::vector<std::string> result;
  split(text, ',', result);
  return result;
}

TEST(Split, KeepsEmptyPiecesBetweenDelimitersButNoEmptyLastOne) {
  EXPECT_THAT(pieces("1,,2"), ElementsAre("1", "", "2"));
  EXPECT_THAT(pieces("1,2,"), ElementsAre("1", "2"));
  EXPECT_THAT(pieces(""), IsEmpty());
  EXPECT_THAT(pieces(","), ElementsAre(""));
  EXPECT_THAT(pieces(",1"), ElementsAre("", "1"));
  EXPECT_THAT(pieces(" 1 "), ElementsAre(" 1 "));
}

TEST(Split, AppendsToWhatIsThere) {
  std::vector<std::string> result{"a"};
  split("b", ',', result);
  EXPECT_THAT(result, ElementsAre("a", "b"));
}

TEST(LenientDecimal, ReadsAsFarAsThereAreDigits) {
  EXPECT_EQ(lenientDecimal("12"), 12);
  EXPECT_EQ(lenientDecimal(" \t12abc"), 12);
  EXPECT_EQ(lenientDecimal("-3"), -3);
  EXPECT_EQ(lenientDecimal("+3"), 3);
  EXPECT_EQ(lenientDecimal("abc"), 0);
  EXPECT_EQ(lenientDecimal(""), 0);
  EXPECT_EQ(lenientDecimal("-"), 0);
}

TEST(ZipLongest, FillsEveryColumnUpToTheLongest) {
  std::vector<std::string> a{"1"};
  std::vector<std::string> b{"x", "y", "z"};
  std::vector<std::string> c;
  zip_longest("", a, b, c);
  EXPECT_THAT(a, ElementsAre("1", "", ""));
  EXPECT_THAT(b, ElementsAre("x", "y", "z"));
  EXPECT_THAT(c, ElementsAre("", "", ""));
}

}  // namespace
}  // namespace KorvoL2

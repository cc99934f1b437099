#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "platform/base/Exceptions.h"

namespace Qel {
namespace {

static_assert(std::is_base_of_v<std::runtime_error, Exception>);
static_assert(std::is_base_of_v<Exception, RangeException>);
static_assert(std::is_base_of_v<Exception, ParseException>);
static_assert(std::is_base_of_v<Exception, NoImplementationException>);
static_assert(std::is_base_of_v<Exception, CorruptionException>);
static_assert(std::is_base_of_v<Exception, AssertionException>);

TEST(ExceptionsTest, FailedAssertionQuotesItsConditionAndPlace) {
  const int line = __LINE__ + 2;
  try {
    QEL_ASSERT(1 + 1 == 3);
    FAIL() << "did not throw";
  } catch (const AssertionException& e) {
    EXPECT_EQ(std::string(e.what()),
              "assertion \"1 + 1 == 3\" failed (ExceptionsTest.cpp:" + std::to_string(line) + ")");
  }
}

TEST(ExceptionsTest, AssertionThatHoldsEvaluatesOnceAndPasses) {
  int evaluated = 0;
  QEL_ASSERT(++evaluated == 1);
  EXPECT_EQ(evaluated, 1);
}

TEST(ExceptionsTest, UnitIsShownWithoutItsFolder) {
  try {
    assertionFailed("helper()", "some/where/Unit.cpp", 7);
  } catch (const AssertionException& e) {
    EXPECT_STREQ(e.what(), "assertion \"helper()\" failed (Unit.cpp:7)");
  }
  try {
    assertionFailed("helper()", "Unit.cpp", 7);
  } catch (const AssertionException& e) {
    EXPECT_STREQ(e.what(), "assertion \"helper()\" failed (Unit.cpp:7)");
  }
}

TEST(ExceptionsTest, MissingOperationIsNamed) {
  try {
    mustBeImplementedInDerivedClass("virtual void A::action(int) const");
    FAIL() << "did not throw";
  } catch (const NoImplementationException& e) {
    EXPECT_STREQ(e.what(),
                 "virtual void A::action(int) const must be implemented in the derived class");
  }
}

}  // namespace
}  // namespace Qel

// Mocks of the agent's multicast objects.
#pragma once

#include <gmock/gmock.h>

#include "platform/l2/McastHelper.h"

namespace KorvoL2::Testing {

class MockMcastHelper : public KorvoL2McastHelper {
 public:
  MockMcastHelper();
  ~MockMcastHelper() override;
  MOCK_METHOD(void, showHwMcastGroupTable,
              (std::uint32_t socket, bool differenceOnly, bool allGroups, std::uint32_t groupIndex),
              (override));
  MOCK_METHOD(void, showMcastGroupTable, (std::uint32_t socket), (override));
  MOCK_METHOD(void, clearShadowMcastGroupTable, (), (override));
};

/** The helper of some other family of chips. */
class OtherMcastHelper final : public McastHelper {};

class MockMcastObject : public McastObject {
 public:
  MockMcastObject();
  ~MockMcastObject() override;
  MOCK_METHOD(McastHelper*, mcastHelper, (), (const, override));
};

}  // namespace KorvoL2::Testing

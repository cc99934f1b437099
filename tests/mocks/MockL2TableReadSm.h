// A mock of the agent's hardware table reader.
#pragma once

#include <gmock/gmock.h>

#include "platform/l2/L2TableReadSm.h"

namespace KorvoL2::Testing {

class MockL2TableReadSm : public L2TableReadSm {
 public:
  MockL2TableReadSm();
  ~MockL2TableReadSm() override;
  MOCK_METHOD(std::uint64_t, createTransactionId, (), (override));
  MOCK_METHOD(void, mcastHelperIs, (KorvoL2McastHelper * helper), (override));
  MOCK_METHOD(void, newReqIs, (const L2TableReadReq& request), (override));
};

}  // namespace KorvoL2::Testing

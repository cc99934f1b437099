// Mocks of the agent's command-ring manager and of the tables that it gives out.
#pragma once

#include <gmock/gmock.h>

#include "platform/l2/L2CmdRingManager.h"

namespace KorvoL2::Testing {

class MockShadowTable : public ShadowTable {
 public:
  MockShadowTable();
  ~MockShadowTable() override;
  MOCK_METHOD(void, show, (std::uint32_t socket, const Qel::Ptr<ShadowShow>& parameters),
              (override));
};

class MockL2CmdRingManager : public L2CmdRingManager {
 public:
  MockL2CmdRingManager();
  ~MockL2CmdRingManager() override;
  MOCK_METHOD(void, showEgrVfiTable, (std::uint32_t socket, const Parameters& parameters),
              (override));
  MOCK_METHOD(void, showEgrVlanXlate2Entries, (std::uint32_t socket, const Parameters& parameters),
              (override));
  MOCK_METHOD(void, showEgrVlanXlateEntries, (std::uint32_t socket, const Parameters& parameters),
              (override));
  MOCK_METHOD(void, showVfiTable, (std::uint32_t socket, const Parameters& parameters), (override));
  MOCK_METHOD(void, showVlanXlate2Entries, (std::uint32_t socket, const Parameters& parameters),
              (override));
  MOCK_METHOD(void, showVlanXlateEntries, (std::uint32_t socket, const Parameters& parameters),
              (override));
  MOCK_METHOD(Qel::Ptr<ShadowTable>, evtapTable, (), (override));
  MOCK_METHOD(Qel::Ptr<ShadowTable>, ivtapTable, (), (override));
  MOCK_METHOD(Qel::Ptr<ShadowTable>, sourceVpTable, (), (override));
  MOCK_METHOD(IngVlanRangeParam, getIngVlanRangeEntry,
              (std::uint16_t logicalFap, std::uint32_t logicalPort), (override));
};

}  // namespace KorvoL2::Testing

// Mocks of the agent's MAC-address state-machine helper and of the table that it gives out.
#pragma once

#include <gmock/gmock.h>

#include "platform/l2/KorvoL2MacAddrSmHelper.h"
#include "platform/l2/L2Services.h"

namespace KorvoL2::Testing {

class MockMacTblShadow : public MacTblShadow {
 public:
  MockMacTblShadow();
  ~MockMacTblShadow() override;
  MOCK_METHOD(const MacEntryCollection*, macEntry, (), (const, override));
  MOCK_METHOD(void, printMacEntry,
              (Rendering::RendererV2 & renderer, const Bridging::MacVlanPair& key,
               const MacEntry& entry),
              (const, override));
  MOCK_METHOD(void, printMacEntryHw,
              (Rendering::RendererV2 & renderer, Rendering::TableRenderer* table,
               Tessar::FapId fapId, bool detail, const Bridging::MacVlanPair& key,
               const MacEntry& entry, KorvoL2McastHelper* mcastHelper),
              (const, override));
};

class MockMacAddrSmHelper : public KorvoL2MacAddrSmHelper {
 public:
  MockMacAddrSmHelper();
  ~MockMacAddrSmHelper() override;
  MOCK_METHOD(MacTblShadow*, macTblShadow, (), (const, override));
  MOCK_METHOD(L2ModFifoShowSm*, l2ModFifoShowSm, (), (const, override));
  MOCK_METHOD(const FapChipCollection*, fapChip, (), (const, override));
  MOCK_METHOD(bool, readUnknownChips, (), (const, override));
  MOCK_METHOD(L2TableReadSm*, l2TableReadSm, (), (const, override));
};

}  // namespace KorvoL2::Testing

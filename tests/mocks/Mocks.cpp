// The mocks' constructors and destructors: what gmock makes of them is by far the dearest part of a
// mock to compile, and is compiled here once instead of in every test.

#include "tests/mocks/MockL2Agent.h"
#include "tests/mocks/MockL2CmdRingManager.h"
#include "tests/mocks/MockL2Services.h"
#include "tests/mocks/MockL2TableReadSm.h"
#include "tests/mocks/MockMacAddrSmHelper.h"
#include "tests/mocks/MockMcastHelper.h"
#include "tests/mocks/MockUnicastAgent.h"

namespace KorvoL2::Testing {

MockL2ModFifoShowSm::MockL2ModFifoShowSm() = default;
MockL2ModFifoShowSm::~MockL2ModFifoShowSm() = default;

MockModFifoMonitorSm::MockModFifoMonitorSm() = default;
MockModFifoMonitorSm::~MockModFifoMonitorSm() = default;

MockMlagHelper::MockMlagHelper() = default;
MockMlagHelper::~MockMlagHelper() = default;

MockVlanXlate2Manager::MockVlanXlate2Manager() = default;
MockVlanXlate2Manager::~MockVlanXlate2Manager() = default;

MockEgrVlanXlateManager::MockEgrVlanXlateManager() = default;
MockEgrVlanXlateManager::~MockEgrVlanXlateManager() = default;

MockVfiAllocatorSm::MockVfiAllocatorSm() = default;
MockVfiAllocatorSm::~MockVfiAllocatorSm() = default;

MockFlexCounter::MockFlexCounter() = default;
MockFlexCounter::~MockFlexCounter() = default;

MockVxlanL2Sm::MockVxlanL2Sm() = default;
MockVxlanL2Sm::~MockVxlanL2Sm() = default;

MockSvpManager::MockSvpManager() = default;
MockSvpManager::~MockSvpManager() = default;

MockRouterMacSm::MockRouterMacSm() = default;
MockRouterMacSm::~MockRouterMacSm() = default;

MockMcastHelper::MockMcastHelper() = default;
MockMcastHelper::~MockMcastHelper() = default;

MockMcastObject::MockMcastObject() = default;
MockMcastObject::~MockMcastObject() = default;

MockShadowTable::MockShadowTable() = default;
MockShadowTable::~MockShadowTable() = default;

MockL2CmdRingManager::MockL2CmdRingManager() = default;
MockL2CmdRingManager::~MockL2CmdRingManager() = default;

MockMacTblShadow::MockMacTblShadow() = default;
MockMacTblShadow::~MockMacTblShadow() = default;

MockMacAddrSmHelper::MockMacAddrSmHelper() = default;
MockMacAddrSmHelper::~MockMacAddrSmHelper() = default;

MockUnicastAgent::MockUnicastAgent() = default;
MockUnicastAgent::~MockUnicastAgent() = default;

MockL2Agent::MockL2Agent() = default;
MockL2Agent::~MockL2Agent() = default;

MockL2TableReadSm::MockL2TableReadSm() = default;
MockL2TableReadSm::~MockL2TableReadSm() = default;

}  // namespace KorvoL2::Testing

// The small objects of the switch model that plain commands forward to, each present unless told
// otherwise.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include "agent/services/ChipSet.h"
#include "agent/services/CmdRingManagerModel.h"
#include "agent/services/FlexCounterModel.h"
#include "agent/services/McastHelperModel.h"
#include "agent/services/MlagHelperModel.h"
#include "agent/services/ModFifoModel.h"
#include "agent/services/RouterMacModel.h"
#include "agent/services/Service.h"
#include "agent/services/SvpManagerModel.h"
#include "agent/services/VfiAllocatorModel.h"
#include "agent/services/VlanXlateManagers.h"
#include "agent/services/VlanXlateModel.h"
#include "agent/services/VxlanL2SmModel.h"

namespace KorvoAgent {

/** Those of the layer-2 agent. */
struct SwitchServices {
  SwitchServices(Qel::Ptr<const Qel::Clock> clock, const ChipNames& chips,
                 ModFifoMonitorModel::Reported reported, const VxlanL2SmModel& vxlan);

  Service<McastHelperModel> mcastHelper;
  Service<ModFifoShowModel> modFifoShow;
  Service<ModFifoMonitorModel> modFifoMonitor;
  Service<MlagHelperModel> mlagHelper;
  Service<VfiAllocatorModel> vfiAllocator;
  Service<FlexCounterModel> flexCounter;
  Service<CmdRingManagerModel> cmdRingManager;
};

/** Those of the unicast agent. */
struct UnicastServices {
  UnicastServices(const VxlanL2SmModel& vxlan, Qel::Ptr<const VlanXlateSmModel> vlanXlate,
                  Qel::Ptr<const KorvoL3::RoutingStatus> routing);

  Service<SvpManagerModel> svpManager;
  Service<RouterMacModel> routerMac;
  Service<VlanXlate2ManagerModel> vlanXlate2Manager;
  Service<EgrVlanXlateManagerModel> egrVlanXlateManager;
};

}  // namespace KorvoAgent

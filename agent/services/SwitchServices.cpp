#include "agent/services/SwitchServices.h"

#include <utility>

namespace KorvoAgent {

SwitchServices::SwitchServices(Qel::Ptr<const Qel::Clock> clock, const ChipNames& chips,
                               ModFifoMonitorModel::Reported reported, const VxlanL2SmModel& vxlan)
    : mcastHelper(Qel::makePtr<McastHelperModel>(chips)),
      modFifoShow(Qel::makePtr<ModFifoShowModel>(chips)),
      modFifoMonitor(Qel::makePtr<ModFifoMonitorModel>(modFifoShow.object(), std::move(reported))),
      mlagHelper(Qel::makePtr<MlagHelperModel>(chips)),
      vfiAllocator(Qel::makePtr<VfiAllocatorModel>(vxlan.vxlanL3Config())),
      flexCounter(Qel::makePtr<FlexCounterModel>(std::move(clock), vxlan.vxlanL3Config())),
      cmdRingManager(Qel::makePtr<CmdRingManagerModel>(chips)) {}

UnicastServices::UnicastServices(const VxlanL2SmModel& vxlan,
                                 Qel::Ptr<const VlanXlateSmModel> vlanXlate,
                                 Qel::Ptr<const KorvoL3::RoutingStatus> routing)
    : svpManager(Qel::makePtr<SvpManagerModel>(vxlan.vxlanL2State())),
      routerMac(Qel::makePtr<RouterMacModel>(std::move(routing))),
      vlanXlate2Manager(Qel::makePtr<VlanXlate2ManagerModel>(vlanXlate)),
      egrVlanXlateManager(Qel::makePtr<EgrVlanXlateManagerModel>(std::move(vlanXlate))) {}

}  // namespace KorvoAgent

// The ingress VLAN ranges dump: for every interface, the ranges that are programmed for its logical
// port. How an interface becomes a logical port is for a derived class to say.
//
// Text:  lines for each interface that has ranges (see VlanRangePrinter.h), nothing else.
// JSON:  {"intfVlanRanges":{"INTERFACE":{...},...}} and a newline.
//
// Slices: the machine asks whether to yield after each interface that was printed. Interfaces that
// print nothing may be many; a slice whose time is spent among them ends there, too, which no byte
// of the output tells.
//
// Threading: the agent's event-loop thread only. The records may change between two slices; what a
// walk promises then is written in ResumableWalk.h.
#pragma once

#include <cstdint>
#include <string>

#include "KorvoL2/Export.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/ResumableWalk.h"
#include "platform/base/Attribute.h"
#include "platform/command/AgentAsyncCommandRequestSm.h"
#include "platform/l2/FeatureAgentCommonSmData.h"
#include "platform/l2/L2CmdRingManager.h"
#include "platform/l2/VlanXlateRecords.h"

namespace KorvoL2 {

class IngVlanRangeRequestSmBase : public AgentCommand::AgentAsyncCommandRequestSm {
  QEL_ENTITY_CLASS(IngVlanRangeRequestSmBase, "KorvoL2::IngVlanRangeRequestSmBase")
 public:
  /**
   * Null for a record stands for an empty one, null for the manager for one that reads no ranges.
   * `ingVlanRangeSize` is how many ranges the table of one port holds.
   */
  IngVlanRangeRequestSmBase(std::string name,
                            Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
                            Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
                            Qel::Ptr<const FeatureAgentCommonSmData> fcsd,
                            Qel::Ptr<const VlanXlateScaleEntryDir> vlanXlateScaleEntryDir,
                            Qel::Ptr<L2CmdRingManager> cmdRingManager,
                            std::uint8_t ingVlanRangeSize);

  KORVO_L2_API void handleAsyncCommand(std::uint32_t socket, std::uint32_t format) override;
  /** The logical port of `intf`. Throws NoImplementationException unless a derived class knows. */
  KORVO_L2_API virtual std::uint32_t getLogicalPort(Bridging::IntfId intf) const;

  /** Takes the machine into service. */
  KORVO_L2_API void handleInitialized();
  /** On the first call, writes the preamble and sets inProgress; later, nothing. */
  KORVO_L2_API void getAsyncState();

  /** What is known of the interfaces; never null. */
  QEL_FIXED_ATTRIBUTE(Qel::Ptr<const FeatureAgentCommonSmData>, fcsd)
  /** What each interface asks for; one without an entry is left out. Never null. */
  QEL_FIXED_ATTRIBUTE(Qel::Ptr<const VlanXlateScaleEntryDir>, vlanXlateScaleEntryDir)
  /** Reads the programmed ranges; may be null. */
  QEL_FIXED_ATTRIBUTE(Qel::Ptr<L2CmdRingManager>, cmdRingManager)
  QEL_FIXED_ATTRIBUTE(std::uint8_t, ingVlanRangeSize)

  /** Set once the preamble is written and the walk may run; cleared at completion. */
  QEL_ATTRIBUTE(bool, inProgress)
  /** The bookmark: the interface at which the walk goes on; the default stands for its start. */
  KORVO_L2_WALK(ResumableWalk<Qel::KeyedSet<Bridging::IntfId>>, walk, intfId)

 protected:
  void executionComplete();

 private:
  void showIngVlanRanges();
  RowOutcome showIntf(Bridging::IntfId intf);
};

KORVO_L2_API Qel::Ptr<IngVlanRangeRequestSmBase> IngVlanRangeRequestSmBaseIs(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const FeatureAgentCommonSmData>& fcsd,
    const Qel::Ptr<const VlanXlateScaleEntryDir>& vlanXlateScaleEntryDir,
    const Qel::Ptr<L2CmdRingManager>& cmdRingManager, std::uint8_t ingVlanRangeSize);
KORVO_L2_API Qel::Ptr<IngVlanRangeRequestSmBase> ingVlanRangeRequestSmBaseFactory(
    const std::string& name, const Qel::Ptr<const AgentCommand::AgentCommandRequest>& request,
    Qel::Duration maxRunTime, const Qel::Ptr<const Qel::Clock>& clock,
    const Qel::Ptr<const FeatureAgentCommonSmData>& fcsd,
    const Qel::Ptr<const VlanXlateScaleEntryDir>& vlanXlateScaleEntryDir,
    const Qel::Ptr<L2CmdRingManager>& cmdRingManager, std::uint8_t ingVlanRangeSize);

}  // namespace KorvoL2

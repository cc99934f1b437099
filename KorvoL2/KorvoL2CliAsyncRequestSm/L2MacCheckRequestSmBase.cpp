#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2MacCheckRequestSmBase.h"

#include <utility>

#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/RequestSmSupport.h"
#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/TextHelpers.h"
#include "KorvoL2/Trace.h"
#include "platform/base/Exceptions.h"
#include "platform/command/CommandArgument.h"

namespace KorvoL2 {

L2MacCheckRequestSmBase::L2MacCheckRequestSmBase(
    std::string name, Qel::Ptr<const AgentCommand::AgentCommandRequest> request,
    Qel::Duration maxRunTime, Qel::Ptr<const Qel::Clock> clock,
    KorvoL2MacAddrSmHelper* macAddrSmHelper, KorvoL2McastHelper* mcastHelper, std::string fapIdList,
    bool detail)
    : AgentAsyncCommandRequestSm(std::move(name), std::move(request), maxRunTime, std::move(clock)),
      fapIdList_(std::move(fapIdList)),
      detail_(detail),
      macAddrSmHelper_(macAddrSmHelper),
      mcastHelper_(mcastHelper) {
  QEL_ASSERT(macAddrSmHelper_ != nullptr);
}

void L2MacCheckRequestSmBase::handleInitialized() {
  // Called twice for each command: by the constructor, so that the hardware is being read before
  // the first slice runs, and by the front end, which calls it on every machine that it creates.
  // The reads are for the first call alone: a second set would double the work and, with it, the
  // time until the result table is complete.
  if (!readsIssued_) {
    readsIssued_ = true;
    issueReads(Qel::TraceSite(typeData().name));
  }
  initializeSm();
}

void L2MacCheckRequestSmBase::issueReads(const Qel::TraceSite& site) {
  const L2TableReadReq request = resultTableIs();
  KORVO_L2_TRACE_AT(8, site, "requesting L2 table read fapIds");
  std::vector<std::string> pieces;
  pieces.reserve(127);
  split(fapIdList_, ',', pieces);
  for (const std::string& piece : pieces) {
    const auto id = static_cast<std::uint32_t>(lenientDecimal(piece));
    fapIs(id);
    // The request carries one byte: 300 asks for chip 44. What does not fit the chip numbers after
    // that is refused here, with what was posted for earlier pieces left to run.
    const Tessar::FapId fapId = AgentCommand::readArgument(
        "chip list", fapIdList_, [id] { return Tessar::FapId(id & 0xFF); });
    if (!shallRead(fapId)) continue;
    QEL_ASSERT(mcastHelper_ != nullptr);
    post(request, fapId);
    numReqInc(1);
  }
  if (numReq_ == 0) {
    l2TableReadDoneIs(true);
  } else {
    post(request, Tessar::FapId());
  }
}

bool L2MacCheckRequestSmBase::shallRead(Tessar::FapId fapId) const {
  if (const FapChipCollection* const chips = macAddrSmHelper_->fapChip()) {
    for (const auto& [id, chip] : *chips) {
      if (chip.fapId() == fapId) return true;
    }
  }
  return macAddrSmHelper_->readUnknownChips();
}

void L2MacCheckRequestSmBase::post(L2TableReadReq request, Tessar::FapId fapId) {
  const Qel::Ptr<L2TableReadSm> reader(macAddrSmHelper_->l2TableReadSm());
  QEL_ASSERT(reader != nullptr);
  reader->mcastHelperIs(mcastHelper_.get());
  request.transactionId = reader->createTransactionId();
  request.fapId = fapId;
  reader->newReqIs(request);
}

void L2MacCheckRequestSmBase::handleAsyncCommand(std::uint32_t socket, std::uint32_t format) {
  KORVO_L2_TRACE(8, "socket:{}, format:{}", socket, format);
  const auto begin = [this] {
    renderer().openObject();
    initializeTableRenderer();
    renderer().openList(listKey());
  };
  if (numReq_ == 0 || fap_.empty()) {
    begin();
    executionComplete();
    return;
  }
  if (!l2TableReadDone_) {
    if (!resultTableComplete()) {
      KORVO_L2_TRACE(8, "l2 table read still in progress");
      return;
    }
    l2TableReadDoneIs(true);
  }
  if (!inProgress_) begin();
  printReport();
}

void L2MacCheckRequestSmBase::initializeTableRenderer() {
  KORVO_L2_TRACE(8, "");
  std::vector<Rendering::ColumnFormatter> formats;
  std::vector<std::string_view> heads;
  for (const ReportColumn& column : reportColumns()) {
    formats.push_back(column.format);
    heads.push_back(column.heading);
  }
  tableRendererIs(
      std::make_unique<Rendering::TableRenderer>(renderer(), std::move(formats), true, false));
  tableRenderer_->addHeading(heads);
}

void L2MacCheckRequestSmBase::finishReport() {
  renderer().closeList();
  renderer().closeObject();
  renderer().documentEnd();
  renderer().ioflush();
  fapDelAll();
  tableRendererIs(nullptr);
  executionCompleteFlagIs(true);
  inProgressIs(false);
}

}  // namespace KorvoL2

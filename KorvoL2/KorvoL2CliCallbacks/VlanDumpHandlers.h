// The handlers of the VLAN range and VLAN translation dumps.
#pragma once

#include <string_view>

#include "KorvoL2/KorvoL2CliCallbacks/FormattedHandler.h"

namespace KorvoL2 {

/** What the VLAN dumps share: a chip that can do it, and objects of the agent to read. */
class CliCallbackWithFormat::VlanDumpHandler : public AsyncHandler {
  KORVO_L2_HANDLER(CliCallbackWithFormat::VlanDumpHandler)
 public:
  using AsyncHandler::AsyncHandler;
  /** A chip that cannot do it has no such command; a missing object is told in the outcome. */
  bool condition(const Qel::Ptr<CliCallbackWithFormat>& callback) const override;

 protected:
  virtual bool chipSupport(const CliCallbackWithFormat& callback) const = 0;
  /** What is said of the first object that the dump reads and the agent lacks; empty for none. */
  virtual std::string_view missingObject(const CliCallbackWithFormat& callback) const;
};

/** The agent's software tables of egress VLAN translation. */
class CliCallbackWithFormat::EgrVlanXlateStatusH final : public VlanDumpHandler {
  KORVO_L2_HANDLER(CliCallbackWithFormat::EgrVlanXlateStatusH)
 public:
  using VlanDumpHandler::VlanDumpHandler;
  Machine action(const Qel::Ptr<CliCallbackWithFormat>& callback) override;

 protected:
  bool chipSupport(const CliCallbackWithFormat& callback) const override;
};

/**
 * The ingress VLAN ranges of each interface. Known by the name that it had when it was a command of
 * the plain callback: whoever watches handlers by name finds it there.
 */
class CliCallbackWithFormat::IngVlanRangeH final : public VlanDumpHandler {
  QEL_ENTITY_CLASS(CliCallbackWithFormat::IngVlanRangeH, "CliCallback::IngVlanRangeH")
 public:
  using VlanDumpHandler::VlanDumpHandler;
  Machine action(const Qel::Ptr<CliCallbackWithFormat>& callback) override;

 protected:
  bool chipSupport(const CliCallbackWithFormat& callback) const override;
  std::string_view missingObject(const CliCallbackWithFormat& callback) const override;
};

/** The agent's software tables of ingress VLAN translation. */
class CliCallbackWithFormat::VlanXlateStatusH final : public VlanDumpHandler {
  KORVO_L2_HANDLER(CliCallbackWithFormat::VlanXlateStatusH)
 public:
  using VlanDumpHandler::VlanDumpHandler;
  Machine action(const Qel::Ptr<CliCallbackWithFormat>& callback) override;

 protected:
  bool chipSupport(const CliCallbackWithFormat& callback) const override;
};

}  // namespace KorvoL2

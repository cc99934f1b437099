// The handler of the shadows of the hardware tables.
//
//   ShadowShow+TABLE[+RAW][+ALLENTRIES][+VAL+INDEX][+CHIP+FAP]
//
// The tokens after the command may stand in any order. The agent's command-ring manager prints.
#pragma once

#include <span>

#include "KorvoL2/KorvoL2CliCallbacks/Handler.h"
#include "KorvoL2/KorvoL2CliCallbacks/HandlerChain.h"

namespace KorvoL2 {

/** Reads the options of the command and hands it to the handler of the table that it names. */
class CliCallback::ShadowShowH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::ShadowShowH)
 public:
  class ShadowShowHandler;
  class EgrVfiH;
  class EgrXlate2H;
  class EgrXlateH;
  class EvTapH;
  class IvTapH;
  class SourceVpH;
  class VfiH;
  class VlanXlate2H;
  class VlanXlateH;

  using Handler::Handler;
  void action(const Qel::Ptr<CliCallback>& callback) override;

  /** The tables, in the order in which they are looked for. */
  static std::span<const ChainRow<ShadowShowHandler>> tables();

 private:
  void readOptions(CliCallback& callback, ShadowShow& options) const;
};

/**
 * The base of the handlers of the single tables. Their keyword is a token of the command; where it
 * stands is the callback's subArgPos(), 0 when it is missing.
 */
class CliCallback::ShadowShowH::ShadowShowHandler : public Handler {
  KORVO_L2_HANDLER(CliCallback::ShadowShowH::ShadowShowHandler)
 public:
  using Handler::Handler;
  /**
   * The shadows hold something to show, and the command names the table. What keeps a table that is
   * named from being shown becomes the command's outcome.
   */
  bool condition(const Qel::Ptr<CliCallback>& callback) const override;

 protected:
  using Printer = void (L2CmdRingManager::*)(std::uint32_t socket,
                                             const Qel::Ptr<ShadowShow>& parameters);
  using Table = Qel::Ptr<ShadowTable> (L2CmdRingManager::*)();

  void print(const Qel::Ptr<CliCallback>& callback, Printer printer) const;
  /** Has a table print itself; says `absent` when the manager has no such table. */
  void print(const Qel::Ptr<CliCallback>& callback, Table table, const Lack& absent) const;
};

/** The egress table of virtual forwarding instances. */
class CliCallback::ShadowShowH::EgrVfiH final : public ShadowShowHandler {
  KORVO_L2_HANDLER(CliCallback::ShadowShowH::EgrVfiH)
 public:
  using ShadowShowHandler::ShadowShowHandler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** Egress VLAN translation, second stage. */
class CliCallback::ShadowShowH::EgrXlate2H final : public ShadowShowHandler {
  KORVO_L2_HANDLER(CliCallback::ShadowShowH::EgrXlate2H)
 public:
  using ShadowShowHandler::ShadowShowHandler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** Egress VLAN translation, first stage. */
class CliCallback::ShadowShowH::EgrXlateH final : public ShadowShowHandler {
  KORVO_L2_HANDLER(CliCallback::ShadowShowH::EgrXlateH)
 public:
  using ShadowShowHandler::ShadowShowHandler;
  /**
   * This table is read from the chip, not from a shadow: the command names the table, the chip
   * translates at egress, and the module asked for is present.
   */
  bool condition(const Qel::Ptr<CliCallback>& callback) const override;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** Egress VLAN tag action profiles. */
class CliCallback::ShadowShowH::EvTapH final : public ShadowShowHandler {
  KORVO_L2_HANDLER(CliCallback::ShadowShowH::EvTapH)
 public:
  using ShadowShowHandler::ShadowShowHandler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** Ingress VLAN tag action profiles. */
class CliCallback::ShadowShowH::IvTapH final : public ShadowShowHandler {
  KORVO_L2_HANDLER(CliCallback::ShadowShowH::IvTapH)
 public:
  using ShadowShowHandler::ShadowShowHandler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** Source virtual ports. */
class CliCallback::ShadowShowH::SourceVpH final : public ShadowShowHandler {
  KORVO_L2_HANDLER(CliCallback::ShadowShowH::SourceVpH)
 public:
  using ShadowShowHandler::ShadowShowHandler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** The table of virtual forwarding instances. */
class CliCallback::ShadowShowH::VfiH final : public ShadowShowHandler {
  KORVO_L2_HANDLER(CliCallback::ShadowShowH::VfiH)
 public:
  using ShadowShowHandler::ShadowShowHandler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** Ingress VLAN translation, second stage. */
class CliCallback::ShadowShowH::VlanXlate2H final : public ShadowShowHandler {
  KORVO_L2_HANDLER(CliCallback::ShadowShowH::VlanXlate2H)
 public:
  using ShadowShowHandler::ShadowShowHandler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** Ingress VLAN translation, first stage. */
class CliCallback::ShadowShowH::VlanXlateH final : public ShadowShowHandler {
  KORVO_L2_HANDLER(CliCallback::ShadowShowH::VlanXlateH)
 public:
  using ShadowShowHandler::ShadowShowHandler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

}  // namespace KorvoL2

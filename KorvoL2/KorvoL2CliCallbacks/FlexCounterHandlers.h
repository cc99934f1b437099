// The handlers that show flexible counters. The agent's counter object prints.
#pragma once

#include "KorvoL2/KorvoL2CliCallbacks/Handler.h"

namespace KorvoL2 {

/** Summary of the counters of VTEP decapsulation. */
class CliCallback::FcvdsH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::FcvdsH)
 public:
  using Handler::Handler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** Values of the counters of VTEP decapsulation. */
class CliCallback::FcvdvH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::FcvdvH)
 public:
  using Handler::Handler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** Summary of the egress counters of each VNI. */
class CliCallback::VniEgressFlexCountersSummaryH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::VniEgressFlexCountersSummaryH)
 public:
  using Handler::Handler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** Values of the egress counters of each VNI. */
class CliCallback::VniEgressFlexCountersValuesH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::VniEgressFlexCountersValuesH)
 public:
  using Handler::Handler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** Summary of the ingress counters of each VNI. */
class CliCallback::VniIngressFlexCountersSummaryH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::VniIngressFlexCountersSummaryH)
 public:
  using Handler::Handler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

/** Values of the ingress counters of each VNI. */
class CliCallback::VniIngressFlexCountersValuesH final : public Handler {
  KORVO_L2_HANDLER(CliCallback::VniIngressFlexCountersValuesH)
 public:
  using Handler::Handler;
  void action(const Qel::Ptr<CliCallback>& callback) override;
};

}  // namespace KorvoL2

#include "KorvoL2/KorvoL2CliCallbacks/FlexCounterHandlers.h"

namespace KorvoL2 {

void CliCallback::FcvdsH::action(const Qel::Ptr<CliCallback>& callback) {
  forward(callback, callback->agent().flexCounter(), "no flexCounter",
          &KorvoL2FlexCounter::showVtepDecapFlexCountersSummary, callback->socket());
}

void CliCallback::FcvdvH::action(const Qel::Ptr<CliCallback>& callback) {
  forward(callback, callback->agent().flexCounter(), "no flexCounter",
          &KorvoL2FlexCounter::showVtepDecapFlexCountersValues, callback->socket());
}

void CliCallback::VniEgressFlexCountersSummaryH::action(const Qel::Ptr<CliCallback>& callback) {
  forward(callback, callback->agent().flexCounter(), "no flexCounter",
          &KorvoL2FlexCounter::showVniEgressFlexCountersSummary, callback->socket());
}

void CliCallback::VniEgressFlexCountersValuesH::action(const Qel::Ptr<CliCallback>& callback) {
  forward(callback, callback->agent().flexCounter(), "no flexCounter",
          &KorvoL2FlexCounter::showVniFlexCountersValues, callback->socket(),
          CounterDirection::egress);
}

void CliCallback::VniIngressFlexCountersSummaryH::action(const Qel::Ptr<CliCallback>& callback) {
  forward(callback, callback->agent().flexCounter(), "no flexCounter",
          &KorvoL2FlexCounter::showVniIngressFlexCountersSummary, callback->socket());
}

void CliCallback::VniIngressFlexCountersValuesH::action(const Qel::Ptr<CliCallback>& callback) {
  forward(callback, callback->agent().flexCounter(), "no flexCounter",
          &KorvoL2FlexCounter::showVniFlexCountersValues, callback->socket(),
          CounterDirection::ingress);
}

}  // namespace KorvoL2

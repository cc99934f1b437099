// What the routing information of VXLAN says above its VLANs, to be chosen by a test.
#pragma once

#include <memory>

#include "tests/documents/Dump.h"

namespace KorvoL2::Testing {

struct RoutingHead {
  bool recircIntf = true;
  bool singlePass = false;
  bool virtualRouterMac = true;
  bool vtepIp = true;
  bool vtepIp6 = true;
};

std::unique_ptr<Dump> routingInfoDump(bool json, const RoutingHead& head);

}  // namespace KorvoL2::Testing

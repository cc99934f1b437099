// How VXLAN rows look.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <cstdint>

#include "platform/l2/VxlanRecords.h"
#include "platform/rendering/RendererV2.h"
#include "platform/types/IntfId.h"

namespace KorvoL2 {

/** What routing of one VXLAN VLAN hangs on. The second MAC address is the virtual router's. */
struct RoutingInfoFlags {
  bool svpConfigured = false;          ///< the VLAN has a virtual port configuration
  bool routerMacOnAllModules = false;  ///< every module holds the router MAC in this VLAN
  bool routerMacMissing = false;       ///< the MAC table has no entry for it
  bool routerMacRouted = false;        ///< its entry says that frames to it are routed
  bool virtualRouterMacConfigured = false;
  bool virtualRouterMacOnAllModules = false;
  bool virtualRouterMacMissing = false;
  bool virtualRouterMacRouted = false;
};

/**
 * One VLAN of the routing information. In text, a line whose columns stand under each other, with
 * what is not as routing needs it in capitals ("all": on all modules):
 *
 *   Vlan 10   SVP 12    config yes | Router MAC: all yes missing no  routed yes |
 * \ Virtual: all NO  missing no  routed yes
 *
 * (in one line). In JSON, a member of the object that is open, all eight flags by name:
 *
 *   "10":{"svp":12,"svpConfigured":true,"routerMacOnAllModules":true,"routerMacMissing":false,
 *   "routerMacRouted":true,"virtualRouterMacConfigured":true,...}
 */
void printRoutingInfoUtil(Rendering::RendererV2& renderer, std::uint32_t vlan, std::uint16_t svp,
                          const RoutingInfoFlags& flags);

/**
 * One interface of a VLAN: the text line "      %s: SVP %d\n", or a JSON member of the object that
 * is open, interface name to virtual port number. Written straight into the buffer: a dump has one
 * for every interface of every VLAN.
 */
void printVirtualPortUtil(Rendering::RendererV2& renderer, Bridging::IntfId intf,
                          VirtualPortInfo port);

/**
 * How many VLANs are mapped, which of them lack something, how many virtual ports there are and
 * which addresses the switch has as a tunnel end:
 *
 *   VXLAN VLANs        : 5
 *     without VNI      : 3 (20, 30-31)
 *     without SVP      : 0
 *   Edge virtual ports : 17
 *   ORVA VTEP IP       : 10.0.0.1
 *   ORVA VTEP IPv6     : not configured
 *
 * Text names the first eight stretches of VLANs, JSON all of them:
 *
 *   {"vxlanVlans":5,"numWithoutVni":3,"withoutVni":["20","30-31"],"numWithoutSvp":0,
 *   "withoutSvp":[],"edgePorts":17,"orvaVtepIp":"10.0.0.1","orvaVtepIp6":""}
 *
 * and a newline.
 */
void printVxlanVlanSummaryUtil(Rendering::RendererV2& renderer, const VxlanL2State& l2State,
                               const VxlanL3Config& l3Config);

}  // namespace KorvoL2

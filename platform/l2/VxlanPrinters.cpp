#include "platform/l2/VxlanPrinters.h"

#include <charconv>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "platform/types/VlanId.h"
#include "text/Printable.h"

namespace KorvoL2 {

using Bridging::VlanId;
using Bridging::VlanIdRange;
using Rendering::RendererV2;

namespace {

// The words of a flag, of one width: lower case for what routing needs, capitals for what breaks
// it.
std::string_view wanted(bool flag) { return flag ? "yes" : "NO "; }
std::string_view unwanted(bool flag) { return flag ? "YES" : "no "; }

constexpr std::size_t kMaxDigits = 5;  // of a 16-bit number

/** VLANs that lack something: how many, and the stretches that they make. */
class VlanStretches {
 public:
  /** VLANs come in ascending order. */
  void add(VlanId vlan) {
    ++count_;
    if (!ranges_.empty() && ranges_.back().last().value() + 1 == vlan.value()) {
      ranges_.back() = VlanIdRange(ranges_.back().first(), vlan);
    } else {
      ranges_.emplace_back(vlan);
    }
  }
  std::uint32_t count() const noexcept { return count_; }

  /** " (20, 30-31)", or nothing for none. */
  std::string text() const {
    if (ranges_.empty()) return {};
    constexpr std::size_t kShown = 8;
    std::string text;
    for (std::size_t i = 0; i < ranges_.size() && i < kShown; ++i) {
      text += (text.empty() ? " (" : ", ") + ranges_[i].stringValue();
    }
    return text + (ranges_.size() > kShown ? ", ...)" : ")");
  }
  void list(RendererV2& renderer, std::string_view key) const {
    renderer.openList(key);
    for (const VlanIdRange& range : ranges_) renderer.element(range.stringValue());
    renderer.closeList();
  }

 private:
  std::uint32_t count_ = 0;
  std::vector<VlanIdRange> ranges_;
};

void printMissing(RendererV2& out, std::string_view label, std::string_view countKey,
                  std::string_view listKey, const VlanStretches& vlans) {
  out.addFrills("  without %-9s: %u%s\n", label, vlans.count(), vlans.text());
  out.member(countKey, vlans.count());
  vlans.list(out, listKey);
}

void printVtep(RendererV2& out, std::string_view label, std::string_view key,
               const Bridging::IpAddr& address) {
  const std::string text = address.isUnspecified() ? std::string() : address.stringValue();
  out.addFrills("%-19s: %s\n", label, text.empty() ? std::string_view("not configured") : text);
  out.member(key, text);
}

}  // namespace

void printRoutingInfoUtil(RendererV2& renderer, std::uint32_t vlan, std::uint16_t svp,
                          const RoutingInfoFlags& flags) {
  renderer.addFrills("Vlan %-4u SVP %-5u config %s | Router MAC: all %s missing %s routed %s | ",
                     vlan, svp, wanted(flags.svpConfigured), wanted(flags.routerMacOnAllModules),
                     unwanted(flags.routerMacMissing), wanted(flags.routerMacRouted));
  // One that is not configured is nothing to shout about, and has no entries to judge.
  if (flags.virtualRouterMacConfigured) {
    renderer.addFrills(
        "Virtual: all %s missing %s routed %s\n", wanted(flags.virtualRouterMacOnAllModules),
        unwanted(flags.virtualRouterMacMissing), flags.virtualRouterMacRouted ? "yes" : "NO");
  } else {
    renderer.addFrills("Virtual: not configured\n");
  }
  if (!renderer.isJson()) return;
  renderer.openObject(std::to_string(vlan));
  renderer.member("svp", svp);
  renderer.member("svpConfigured", flags.svpConfigured);
  renderer.member("routerMacOnAllModules", flags.routerMacOnAllModules);
  renderer.member("routerMacMissing", flags.routerMacMissing);
  renderer.member("routerMacRouted", flags.routerMacRouted);
  renderer.member("virtualRouterMacConfigured", flags.virtualRouterMacConfigured);
  renderer.member("virtualRouterMacOnAllModules", flags.virtualRouterMacOnAllModules);
  renderer.member("virtualRouterMacMissing", flags.virtualRouterMacMissing);
  renderer.member("virtualRouterMacRouted", flags.virtualRouterMacRouted);
  renderer.closeObject();
}

void printVirtualPortUtil(RendererV2& renderer, Bridging::IntfId intf, VirtualPortInfo port) {
  const bool json = renderer.isJson();
  std::string room;
  const std::string_view name =
      json ? intf.jsonString() : Text::printable(intf.stringValue(), room);
  const std::string_view before = !json ? "      " : renderer.separatorDue() ? "," : "";
  const std::string_view between = json ? ":" : ": SVP ";
  Rendering::PrintBuffer& buffer = renderer.buffer();
  const auto put = [](char* at, std::string_view text) {
    std::memcpy(at, text.data(), text.size());
    return at + text.size();
  };
  const std::size_t most = before.size() + name.size() + between.size() + kMaxDigits + 1;
  char* at = buffer.reserve(most);
  char* const end = at + most;
  at = put(put(put(at, before), name), between);
  at = std::to_chars(at, end, port.svp).ptr;
  if (!json) *at++ = '\n';
  buffer.commit(at);
  renderer.separatorDueIs(true);
}

void printVxlanVlanSummaryUtil(RendererV2& renderer, const VxlanL2State& l2State,
                               const VxlanL3Config& l3Config) {
  VlanStretches withoutVni;
  VlanStretches withoutSvp;
  for (const auto& entry : l2State.vlanMapping) {
    const VlanMapping* const mapping = l3Config.vlanMapping.find(entry.key);
    if (mapping == nullptr || mapping->vni == 0) withoutVni.add(entry.key);
    const VirtualPort* const port = l2State.vlanToSvp.find(entry.key);
    if (port == nullptr || *port == VirtualPort{}) withoutSvp.add(entry.key);
  }
  renderer.openObject();
  renderer.addAttribute("VXLAN VLANs        : %u\n", "vxlanVlans", l2State.vlanMapping.size());
  printMissing(renderer, "VNI", "numWithoutVni", "withoutVni", withoutVni);
  printMissing(renderer, "SVP", "numWithoutSvp", "withoutSvp", withoutSvp);
  renderer.addAttribute("Edge virtual ports : %u\n", "edgePorts", l2State.portToEdgeSvp.size());
  printVtep(renderer, "ORVA VTEP IP", "orvaVtepIp", l2State.orvaVtepIp);
  printVtep(renderer, "ORVA VTEP IPv6", "orvaVtepIp6", l2State.orvaVtepIp6);
  renderer.closeObject();
  renderer.documentEnd();
}

}  // namespace KorvoL2

// The routing information of VXLAN.
#include <utility>

#include "KorvoL2/KorvoL2CliAsyncRequestSm/L2RoutingInfoRequestSm.h"
#include "agent/model/SwitchModel.h"
#include "tests/documents/MacRows.h"
#include "tests/documents/RoutingInfo.h"
#include "tests/documents/Text.h"
#include "tests/support/ManualClock.h"

namespace KorvoL2::Testing {

namespace {

constexpr std::uint64_t kRouterMac = 0x02000f000001;
constexpr std::uint64_t kVirtualRouterMac = 0x00005e000101;
/** The modules that there are. */
constexpr std::uint64_t kAllModules = 0xb;

/** The entry of one of the two addresses in a VLAN. */
struct RouterEntry {
  bool present = false;
  std::uint64_t modules = 0;
  std::uint16_t flags = 0;
};

RouterEntry routerEntry(std::size_t i) {
  switch (i % 6) {
    case 0:
      return {};
    case 1:
      return {true, kAllModules, 0x2};
    case 2:
      return {true, 0x3, 0x4};
    case 3:
      return {true, kAllModules, 0x19};  // moved, dropped, pending, and not routed
    case 4:
      return {true, 0x1b, 0x1f};
    default:
      return {true, 0, 0};
  }
}

/** What the switch says of one VLAN. */
struct Row {
  explicit Row(std::size_t i)
      : vlan(ascendingVlan(i)),
        svp(static_cast<unsigned>(i % 5 == 3 ? 65535 : i * 17 % 65536)),
        svpConfigured(i % 3 != 1),
        router(routerEntry(i)),
        virtualRouter(routerEntry(i / 6 + i)) {}

  unsigned vlan;
  unsigned svp;
  bool svpConfigured;
  RouterEntry router;
  RouterEntry virtualRouter;
};

/** What is said of one address. */
struct Verdict {
  bool onAllModules;
  bool missing;
  bool routed;
};

Verdict verdictOf(const RouterEntry& entry) {
  return {.onAllModules = entry.modules == kAllModules,
          .missing = !entry.present,
          .routed = (entry.flags & 0x6) != 0};
}

std::string wordsOf(const Verdict& verdict) {
  return format("all %-3s missing %-3s routed %s", verdict.onAllModules ? "yes" : "NO",
                verdict.missing ? "YES" : "no", verdict.routed ? "yes" : "NO");
}

class RoutingInfoDump final : public Dump {
 public:
  RoutingInfoDump(bool json, const RoutingHead& head) : json_(json), head_(head) {
    if (head.recircIntf) recircIntf_ = Bridging::IntfId("Recirc-Channel1");
    capabilities_->singlePassRouting = head.singlePass;
    routingStatus_->routerMac = Bridging::EthAddr(kRouterMac);
    if (head.virtualRouterMac) {
      routingStatus_->virtualRouterMac = Bridging::EthAddr(kVirtualRouterMac);
    }
    if (head.vtepIp) l2State_->orvaVtepIp = Bridging::IpAddr::v4(0xc000020c);
    if (head.vtepIp6) {
      Bridging::IpAddr::Bytes bytes{0x20, 0x01, 0x0d, 0xb8};
      bytes[15] = 0x12;
      l2State_->orvaVtepIp6 = Bridging::IpAddr::v6(bytes);
    }
    model_->swMacTable().refModBitmapIs(kAllModules);
  }

  Machine machine(const Request& request, const Qel::Ptr<const Qel::Clock>& clock) override {
    auto sm = l2RoutingInfoRequestSmFactory("request-1", request, kSliceTime, clock, recircIntf_,
                                            routingStatus_, l2State_, svpConfig_, capabilities_,
                                            model_->macAddrSmHelper());
    sm->handleInitialized();
    return sm;
  }

  Document document() const override {
    Document document;
    std::string pending = json_ ? headJson() : headText();
    for (const std::string& row : rows_) {
      if (json_ && !document.pieces.empty()) pending = ",";
      document.pieces.push_back(std::exchange(pending, {}) + row);
    }
    document.tail = pending + (json_ ? "}}\n" : "");
    return document;
  }

 private:
  bool hasRecirc() const { return head_.recircIntf && !head_.singlePass; }

  std::string headText() const {
    std::string text = "\n";
    text += hasRecirc() ? "Recirc-channel: Recirc-Channel1\n" : "Recirc-channel NOT configured\n";
    text += "\nRouter MAC: " + macText(kRouterMac) + "\n";
    text += head_.virtualRouterMac ? "Virtual router MAC: " + macText(kVirtualRouterMac) + "\n"
                                   : "Virtual router MAC not configured\n";
    text += "\n";
    if (head_.vtepIp) text += "ORVA VTEP IP: 192.0.2.12\n";
    if (head_.vtepIp6) text += "ORVA VTEP IPv6: 2001:db8::12\n";
    text += head_.vtepIp || head_.vtepIp6 ? "   SVP: 3\n" : "ORVA VTEP IP not configured\n";
    return text + "\n";
  }
  std::string headJson() const {
    std::string text = "{";
    if (hasRecirc()) text += "\"recircChannel\":\"Recirc-Channel1\",";
    text += "\"routerMac\":\"" + macText(kRouterMac) + "\",";
    if (head_.virtualRouterMac) {
      text += "\"virtualRouterMac\":\"" + macText(kVirtualRouterMac) + "\",";
    }
    if (head_.vtepIp) text += "\"orvaVtepIp\":\"192.0.2.12\",";
    if (head_.vtepIp6) text += "\"orvaVtepIp6\":\"2001:db8::12\",";
    if (head_.vtepIp || head_.vtepIp6) text += "\"orvaVtepSvp\":3,";
    return text + "\"vlans\":{";
  }

  std::string textOf(const Row& row) const {
    return format("Vlan %-4u SVP %-5u config %-3s | Router MAC: ", row.vlan, row.svp,
                  row.svpConfigured ? "yes" : "NO") +
           format("%-30s | Virtual: ", wordsOf(verdictOf(row.router)).c_str()) +
           (head_.virtualRouterMac ? wordsOf(verdictOf(row.virtualRouter)) : "not configured") +
           "\n";
  }
  std::string jsonOf(const Row& row) const {
    const Verdict router = verdictOf(row.router);
    const Verdict virtualRouter =
        head_.virtualRouterMac ? verdictOf(row.virtualRouter) : Verdict{false, false, false};
    return format("\"%u\":", row.vlan) +
           jsonObject(
               {format("\"svp\":%u", row.svp),
                format("\"svpConfigured\":%s", jsonBool(row.svpConfigured)),
                format("\"routerMacOnAllModules\":%s", jsonBool(router.onAllModules)),
                format("\"routerMacMissing\":%s", jsonBool(router.missing)),
                format("\"routerMacRouted\":%s", jsonBool(router.routed)),
                format("\"virtualRouterMacConfigured\":%s", jsonBool(head_.virtualRouterMac)),
                format("\"virtualRouterMacOnAllModules\":%s", jsonBool(virtualRouter.onAllModules)),
                format("\"virtualRouterMacMissing\":%s", jsonBool(virtualRouter.missing)),
                format("\"virtualRouterMacRouted\":%s", jsonBool(virtualRouter.routed))});
  }

  void add(std::size_t i) override {
    const Row row(i);
    const Bridging::VlanId vlan(row.vlan);
    l2State_->vlanToSvp.put(vlan, {.number = static_cast<std::uint16_t>(row.svp)});
    if (row.svpConfigured) svpConfig_->entries.put(vlan, {});
    putRouter(vlan, kRouterMac, row.router);
    putRouter(vlan, kVirtualRouterMac, row.virtualRouter);
    rows_.push_back(json_ ? jsonOf(row) : textOf(row));
  }
  void putRouter(Bridging::VlanId vlan, std::uint64_t mac, const RouterEntry& entry) {
    if (!entry.present) return;
    model_->swMacTable().put({vlan, Bridging::EthAddr(mac)},
                             {.intf = Bridging::IntfId("Vlan" + vlan.stringValue()),
                              .modBitmap = entry.modules,
                              .flags = entry.flags,
                              .type = MacEntryType::router});
  }

  bool json_;
  RoutingHead head_;
  std::vector<std::string> rows_;
  Bridging::IntfId recircIntf_;
  Qel::Ptr<KorvoL3::RoutingStatus> routingStatus_ = Qel::makePtr<KorvoL3::RoutingStatus>();
  Qel::Ptr<VxlanL2State> l2State_ = Qel::makePtr<VxlanL2State>();
  Qel::Ptr<VlanSvpConfigDir> svpConfig_ = Qel::makePtr<VlanSvpConfigDir>();
  Qel::Ptr<VxlanCapabilities> capabilities_ = Qel::makePtr<VxlanCapabilities>();
  Qel::Ptr<KorvoAgent::SwitchModel> model_ =
      Qel::makePtr<KorvoAgent::SwitchModel>(Qel::makePtr<Qel::ManualClock>());
};

DumpKind kind(std::string name, bool json) {
  return {.name = std::move(name),
          .format = json ? Rendering::kJson : Rendering::kText,
          .make = [=] { return routingInfoDump(json, {}); },
          .maxRows = kAscendingVlans,
          .defaultWindows = json ? 2U : 1U};
}

}  // namespace

std::unique_ptr<Dump> routingInfoDump(bool json, const RoutingHead& head) {
  return std::make_unique<RoutingInfoDump>(json, head);
}

std::vector<DumpKind> routingInfoDumps() {
  return {kind("RoutingInfo", false), kind("RoutingInfoJson", true)};
}

}  // namespace KorvoL2::Testing

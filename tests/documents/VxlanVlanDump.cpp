// The VLANs that VXLAN carries.
#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include "KorvoL2/KorvoL2CliAsyncRequestSmBase/L2VxlanVlanRequestSmBase.h"
#include "tests/documents/Dump.h"
#include "tests/documents/Interfaces.h"
#include "tests/documents/MacRows.h"
#include "tests/documents/Text.h"

namespace KorvoL2::Testing {

namespace {

/** How many different interfaces carry the VLANs. */
constexpr std::size_t kCarriers = 64;

/** A port-channel with members is no interface of a VLAN; one that has never had any is. */
bool hasMembers(std::size_t intf) { return intf % 8 == 0; }

constexpr unsigned kFirstForeignVlan = 4000;
constexpr unsigned kForeignVlans = 90;

struct Mapping {
  unsigned vlan;
  unsigned vfi;
  unsigned vni;
};

/** What the switch says of one VLAN. */
struct Row {
  explicit Row(std::size_t i) : vlan(ascendingVlan(i)) {
    const auto n = static_cast<unsigned>(i);
    // One in six has no mapping; of another one in six, the mapping says that it is of some VLAN
    // that VXLAN does not list.
    if (i % 6 != 4) {
      const bool isForeign = i % 6 == 5 && i / 6 < kForeignVlans;
      mapping = Mapping{isForeign ? kFirstForeignVlan + n / 6 : vlan, n * 11 % 65536,
                        n * 7001 % (1U << 24)};
    }
    if (i % 4 != 2) mcastIndex = (n * 13 + 5) % 65536;
    if (i % 3 != 1) svp = n % 5 == 0 ? 65535 : n;
    for (std::size_t k = 0; k < i % 5; ++k) carriers.push_back((i * 7 + k * 11) % kCarriers);
    if (i % 7 == 6) carriers = {0, 8};  // port-channels alone
  }

  unsigned vlan;
  std::optional<Mapping> mapping{};
  std::optional<unsigned> mcastIndex{};
  std::optional<unsigned> svp{};
  std::vector<std::size_t> carriers{};  ///< numbers of interfaces
};

unsigned edgeSvp(unsigned vlan, std::size_t intf) {
  return static_cast<unsigned>(std::size_t{vlan} * 16 + intf) % 65536;
}

class VxlanVlanDump final : public Dump {
 public:
  VxlanVlanDump(bool json, bool detail) : json_(json), detail_(detail) {
    for (std::size_t i = 0; i < kCarriers; ++i) {
      if (hasMembers(i)) {
        fcsd_->lagMembershipIs(Bridging::IntfId("Member" + std::to_string(i)),
                               Bridging::IntfId(interfaceOf(i).name));
      }
    }
    for (unsigned n = 0; n < kForeignVlans; ++n) {
      if (n % 2 == 0) mcastIndexIs(kFirstForeignVlan + n, 600 + n);
      if (n % 3 == 0) svpIs(kFirstForeignVlan + n, 700 + n);
    }
  }

  Machine machine(const Request& request, const Qel::Ptr<const Qel::Clock>& clock) override {
    auto sm = l2VxlanVlanRequestSmBaseFactory("request-1", request, kSliceTime, clock, fcsd_,
                                              l2State_, l3Config_, l3Status_, detail_);
    sm->handleInitialized();
    return sm;
  }

  Document document() const override {
    Document document;
    std::string pending = json_ ? "{\"vlans\":{" : "";
    for (const std::string& row : rows_) {
      if (json_ && !document.pieces.empty()) pending = ",";
      document.pieces.push_back(std::exchange(pending, {}) + row);
    }
    document.tail = pending + (json_ ? "}}\n" : "");
    return document;
  }

 private:
  static Mapping mappingOf(const Row& row) { return row.mapping.value_or(Mapping{1, 0, 0}); }

  unsigned mcastIndexOf(unsigned vlan) const {
    const auto it = mcastIndexes_.find(vlan);
    return it == mcastIndexes_.end() ? 0 : it->second;
  }
  std::optional<unsigned> svpOf(unsigned vlan) const {
    const auto it = svps_.find(vlan);
    return it == svps_.end() ? std::nullopt : std::optional(it->second);
  }
  /** The interfaces of the VLAN's list, in their order. */
  static std::vector<std::size_t> listed(const Row& row) {
    static const std::vector<std::size_t> order = interfacesInOrder(kCarriers);
    std::vector<std::size_t> intfs;
    for (const std::size_t intf : order) {
      if (!hasMembers(intf) && std::ranges::count(row.carriers, intf) != 0) intfs.push_back(intf);
    }
    return intfs;
  }

  void mcastIndexIs(unsigned vlan, unsigned index) {
    mcastIndexes_[vlan] = index;
    l3Status_->statusEntry.put(static_cast<std::uint16_t>(vlan),
                               {.mcastIndex = static_cast<std::uint16_t>(index)});
  }
  void svpIs(unsigned vlan, unsigned svp) {
    svps_[vlan] = svp;
    l2State_->vlanToSvp.put(Bridging::VlanId(vlan), {.number = static_cast<std::uint16_t>(svp)});
  }

  std::string textOf(const Row& row) const {
    const Mapping mapping = mappingOf(row);
    std::string text = format("Vlan %u:\n   VNI %u, VFI %u:\n", row.vlan, mapping.vni, mapping.vfi);
    if (!detail_) return text;
    text += format("   Mcast index: %u\n", mcastIndexOf(mapping.vlan));
    if (const auto svp = svpOf(mapping.vlan)) text += format("   Vlan SVP: %u\n", *svp);
    if (!row.carriers.empty()) text += "   Interfaces:\n";
    for (const std::size_t intf : listed(row)) {
      text += format("      %s: SVP %u\n", interfaceOf(intf).name.c_str(), edgeSvp(row.vlan, intf));
    }
    return text;
  }

  std::string jsonOf(const Row& row) const {
    const Mapping mapping = mappingOf(row);
    std::vector<std::string> members{format("\"vni\":%u", mapping.vni),
                                     format("\"vfi\":%u", mapping.vfi)};
    std::vector<std::string> ports;
    if (detail_) {
      members.push_back(format("\"mcastIndex\":%u", mcastIndexOf(mapping.vlan)));
      if (const auto svp = svpOf(mapping.vlan)) members.push_back(format("\"vlanSvp\":%u", *svp));
      for (const std::size_t intf : listed(row)) {
        ports.push_back(jsonString(interfaceOf(intf).name) + ":" +
                        std::to_string(edgeSvp(row.vlan, intf)));
      }
    }
    members.push_back("\"virtualPorts\":" + jsonObject(ports));
    return format("\"%u\":", mapping.vlan) + jsonObject(members);
  }

  void add(std::size_t i) override {
    const Row row(i);
    const Bridging::VlanId vlan(row.vlan);
    l2State_->vlanMapping.add(vlan);
    if (row.mapping) {
      l3Config_->vlanMapping.put(vlan, {.vlanId = static_cast<std::uint16_t>(row.mapping->vlan),
                                        .vfi = static_cast<std::uint16_t>(row.mapping->vfi),
                                        .vni = row.mapping->vni});
    }
    if (row.mcastIndex) mcastIndexIs(row.vlan, *row.mcastIndex);
    if (row.svp) svpIs(row.vlan, *row.svp);
    for (const std::size_t intf : row.carriers) {
      l2State_->portToEdgeSvp.put({Bridging::IntfId(interfaceOf(intf).name), vlan},
                                  {.svp = static_cast<std::uint16_t>(edgeSvp(row.vlan, intf))});
    }
    // No row that is added later changes what this one's mapping leads to.
    rows_.push_back(json_ ? jsonOf(row) : textOf(row));
  }

  bool json_;
  bool detail_;
  std::vector<std::string> rows_;
  std::map<unsigned, unsigned> mcastIndexes_;
  std::map<unsigned, unsigned> svps_;
  Qel::Ptr<FeatureAgentCommonSmData> fcsd_ = Qel::makePtr<FeatureAgentCommonSmData>();
  Qel::Ptr<VxlanL2State> l2State_ = Qel::makePtr<VxlanL2State>();
  Qel::Ptr<VxlanL3Config> l3Config_ = Qel::makePtr<VxlanL3Config>();
  Qel::Ptr<VxlanL3Status> l3Status_ = Qel::makePtr<VxlanL3Status>();
};

DumpKind kind(std::string name, bool json, bool detail) {
  return {.name = std::move(name),
          .format = json ? Rendering::kJson : Rendering::kText,
          .make = [=] { return std::make_unique<VxlanVlanDump>(json, detail); },
          .maxRows = kAscendingVlans,
          .defaultWindows = detail ? 1U : 0U,
          // A walk may also stop between two interfaces of one VLAN.
          .asksOncePerPiece = !detail,
          .repeatedKeyIn = "vlans"};
}

}  // namespace

std::vector<DumpKind> vxlanVlanDumps() {
  return {kind("VxlanVlans", false, false), kind("VxlanVlansJson", true, false),
          kind("VxlanVlansDetail", false, true), kind("VxlanVlansDetailJson", true, true)};
}

}  // namespace KorvoL2::Testing

// The software tables of VLAN translation, ingress and egress: three sections each.
#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <utility>

#include "tests/KorvoL2/VlanXlateHarness.h"
#include "tests/documents/Dump.h"
#include "tests/documents/Interfaces.h"
#include "tests/documents/MacRows.h"
#include "tests/documents/Text.h"

namespace KorvoL2::Testing {

namespace {

constexpr std::size_t kSections = 3;

/** In which order the rows of a section stand. */
enum class Order {
  asPut,
  evensFirst,  ///< by tunnel end: IPv4 and IPv6 come in turn, all of IPv4 stand first
  byPortVlan,
};

/** One section: what stands above its rows and below them. */
struct Section {
  Order order;
  std::string head;
  std::string ruleBelow;
  std::string count;  ///< the count line up to the number
  std::string countEnd = "\n";
};

/** Key number `n` of a table by interface and VLAN: three VLANs on each interface. */
struct PortVlan {
  std::size_t intf;
  unsigned vlan;
};
PortVlan portVlanOf(std::size_t n) {
  return {n / 3 * 2654435761U % kInterfaces, static_cast<unsigned>(1 + n % 3 * 2046)};
}
Bridging::PortVlanKey keyOf(std::size_t n) {
  const PortVlan key = portVlanOf(n);
  return {Bridging::IntfId(interfaceOf(key.intf).name), Bridging::VlanId(key.vlan)};
}
const std::string& shortNameOf(std::size_t n) { return interfaceOf(portVlanOf(n).intf).shortName; }

/** Every such number in the order of the keys. */
const std::vector<std::size_t>& portVlansInOrder() {
  static const std::vector<std::size_t> order = [] {
    std::vector<std::size_t> firstOf(kInterfaces);
    for (std::size_t n = 0; n < 3 * kInterfaces; n += 3) firstOf[portVlanOf(n).intf] = n;
    std::vector<std::size_t> numbers;
    for (const std::size_t intf : interfacesInOrder(kInterfaces)) {
      for (std::size_t vlan = 0; vlan < 3; ++vlan) numbers.push_back(firstOf[intf] + vlan);
    }
    return numbers;
  }();
  return order;
}

/** The numbers below `count` in `order`. */
std::vector<std::size_t> inOrder(Order order, std::size_t count) {
  std::vector<std::size_t> numbers;
  if (order == Order::byPortVlan) {
    std::ranges::copy_if(portVlansInOrder(), std::back_inserter(numbers),
                         [=](std::size_t n) { return n < count; });
  } else {
    const std::size_t step = order == Order::evensFirst ? 2 : 1;
    for (std::size_t first = 0; first < step; ++first) {
      for (std::size_t n = first; n < count; n += step) numbers.push_back(n);
    }
  }
  return numbers;
}

std::string numberOrDash(unsigned number) { return number == 0 ? "-" : std::to_string(number); }

/** Numbers of all sizes, 0 among them. */
unsigned numberOf(std::size_t n) {
  constexpr std::array<unsigned, 5> kNumbers{0, 7, 40000, 4294967295U, 2147483648U};
  return kNumbers[n % kNumbers.size()];
}

/** A dump of three sections. Row i goes to section `only`, or else to each in turn. */
class VlanTranslationDump : public Dump {
 public:
  VlanTranslationDump(bool json, std::optional<std::size_t> only,
                      std::array<Section, kSections> sections, std::string end)
      : json_(json), only_(only), sections_(std::move(sections)), end_(std::move(end)) {}

  Document document() const final { return json_ ? asJson(text()) : text(); }

 private:
  /** Lets the switch have row `n` of section `s`; what is printed for it. */
  virtual std::string put(std::size_t s, std::size_t n) = 0;

  void add(std::size_t i) final {
    const std::size_t s = only_.value_or(i % kSections);
    rows_[s].push_back(put(s, rows_[s].size()));
  }

  /** Of an empty section the count line alone is printed. */
  Document text() const {
    Document document;
    std::string pending;
    for (std::size_t s = 0; s < kSections; ++s) {
      const Section& section = sections_[s];
      const std::size_t count = rows_[s].size();
      if (count != 0) pending += section.head;
      for (const std::size_t n : inOrder(section.order, count)) {
        document.pieces.push_back(std::exchange(pending, {}) + rows_[s][n]);
      }
      if (count != 0) {
        pending += section.ruleBelow;
        document.endsOfTables.push_back(document.pieces.size() - 1);
      }
      pending += section.count + std::to_string(count) + section.countEnd;
    }
    document.tail = pending + end_;
    return document;
  }
  /** The tables are text; in JSON their walk is the same. */
  static Document asJson(Document document) {
    for (std::string& piece : document.pieces) piece.clear();
    document.tail = "}\n";
    (document.pieces.empty() ? document.tail : document.pieces.front()).insert(0, "{");
    return document;
  }

  bool json_;
  std::optional<std::size_t> only_;
  std::array<Section, kSections> sections_;
  std::string end_;
  std::array<std::vector<std::string>, kSections> rows_{};
};

class IngressDump final : public VlanTranslationDump {
 public:
  IngressDump(bool json, std::optional<std::size_t> only)
      : VlanTranslationDump(
            json, only,
            {{{.order = Order::evensFirst,
               .head = "Vxlan DIP Entries:\n" + rule(21) + "Vxlan DIP \n" + rule(21),
               .ruleBelow = rule(21),
               .count = "Number of Vxlan DIP entries : ",
               .countEnd = "\n\n"},
              {.order = Order::asPut,
               .head = "Vlan SVP Entries:\n" + rule(30) +
                       format("%-14s%-10s%-11s\n", "Dot1q-tag", "Vlan", "SVP") + rule(30),
               .ruleBelow = rule(30),
               .count = "Number of Vlan SVP entries : "},
              {.order = Order::byPortVlan,
               .head = "\nPort-Vlan Translation / SVP assignment Entries:\n" + rule(49) +
                       format("%-8s%-15s%-15s%-15s\n", " Intf", "Dot1q-tag", "Vlan", "SVP") +
                       rule(49),
               .ruleBelow = rule(49),
               .count = "Number of port-vlan/svp entries : "}}},
            "") {}

  Machine machine(const Request& request, const Qel::Ptr<const Qel::Clock>& clock) override {
    auto sm = ingVlanXlateSwRequestSmBaseFactory("request-1", request, kSliceTime, clock, dips_,
                                                 vlanSvps_, portVlans_);
    sm->handleInitialized();
    return sm;
  }

 private:
  std::string put(std::size_t s, std::size_t n) override {
    switch (s) {
      case 0:
        return putTunnelEnd(n);
      case 1:
        return putVlanSvp(n);
      default:
        return putPortVlan(n);
    }
  }

  std::string putTunnelEnd(std::size_t n) {
    const auto low = static_cast<std::uint16_t>(1 + n);
    if (n % 2 == 0) {
      dips_->entries.put(Bridging::IpAddr::v4(0x0a000000 + low), n % 3 == 0);
      return format("%-27s\n", format("10.0.%d.%d", low >> 8, low & 255).c_str());
    }
    Bridging::IpAddr::Bytes bytes{0x20, 0x01, 0x0d, 0xb8, 0, 1, 0, 0, 0, 1};
    bytes[14] = static_cast<std::uint8_t>(low >> 8);
    bytes[15] = static_cast<std::uint8_t>(low & 255);
    dips_->entries.put(Bridging::IpAddr::v6(bytes), n % 3 == 0);
    return format("%-27s\n", format("2001:db8:1:0:1::%x", low).c_str());
  }
  /** The VLAN that the status says it is of is printed, not the one that it is kept by. */
  std::string putVlanSvp(std::size_t n) {
    const unsigned vlan = n % 5 == 3 ? 4094 : ascendingVlan(n);
    vlanSvps_->entries.put(Bridging::VlanId(ascendingVlan(n)),
                           {.vlan = static_cast<std::uint16_t>(vlan), .svp = numberOf(n)});
    return format("%-14u%-10u%-11u\n", vlan, vlan, numberOf(n));
  }
  std::string putPortVlan(std::size_t n) {
    const unsigned vlan = n % 4 == 3 ? 0 : static_cast<unsigned>(n % 4094 + 1);
    portVlans_->entries.put(keyOf(n),
                            {.svp = numberOf(n), .vlan = static_cast<std::uint16_t>(vlan)});
    return format("%-8s%-15u%-15s%-15s\n", shortNameOf(n).c_str(), portVlanOf(n).vlan,
                  numberOrDash(vlan).c_str(), numberOrDash(numberOf(n)).c_str());
  }

  Qel::Ptr<VlanXlateDipConfigDir> dips_ = Qel::makePtr<VlanXlateDipConfigDir>();
  Qel::Ptr<VlanSvpStatusDir> vlanSvps_ = Qel::makePtr<VlanSvpStatusDir>();
  Qel::Ptr<PortVlanXlateStatusDir> portVlans_ = Qel::makePtr<PortVlanXlateStatusDir>();
};

class EgressDump final : public VlanTranslationDump {
 public:
  EgressDump(bool json, std::optional<std::size_t> only)
      : VlanTranslationDump(
            json, only,
            {{{.order = Order::asPut,
               .head = "\nVlan to VNI Mapping Entries:\n" + rule(16) +
                       format("%4s%10s%2s\n", "Vlan", "VNI", "v6") + rule(16),
               .ruleBelow = rule(16),
               .count = "Number of Vlan to VNI mapping entries : ",
               .countEnd = "\n\n"},
              {.order = Order::byPortVlan,
               .head = "Egress Port-Vlan Translation Entries:\n" + rule(50) +
                       format("%-8s%-15s%-15s%-15s\n", "Intf", "Outer Vlan", "Inner Vlan",
                              "Dot1q-tag") +
                       rule(50),
               .ruleBelow = rule(50),
               .count = "Number of egress port vlan translation entries : "},
              {.order = Order::byPortVlan,
               .head = "\nEgress DVP-Vlan Translation Entries:\n" + rule(49) +
                       format("%-8s%-15s%-15s%-15s\n", "DVP", "Vlan", "Intf", "Dot1q-tag") +
                       rule(49),
               .ruleBelow = rule(49),
               .count = "Number of egress DVP-Vlan translation entries : "}}},
            "\nNumber of INT Opaque entries : 0\n\n") {}

  Machine machine(const Request& request, const Qel::Ptr<const Qel::Clock>& clock) override {
    auto sm = egrVlanXlateSwRequestSmBaseFactory("request-1", request, kSliceTime, clock, vlanVnis_,
                                                 portVlans_, vxlanVlans_);
    sm->handleInitialized();
    return sm;
  }

 private:
  std::string put(std::size_t s, std::size_t n) override {
    switch (s) {
      case 0:
        return putVlanVni(n);
      case 1:
        return putPortVlan(n);
      default:
        return putDvpVlan(n);
    }
  }

  /** IPv4, then IPv6, of each VLAN. */
  std::string putVlanVni(std::size_t n) {
    const unsigned vlan = ascendingVlan(n / 2);
    const unsigned vni = n % 5 == 0 ? 16777215 : static_cast<unsigned>(n * 10000 % 7000000);
    vlanVnis_->entries.put({Bridging::VlanId(vlan), n % 2 == 1}, {.vni = vni});
    return format("%4u%10u%4u\n", vlan, vni, n % 2 == 1 ? 1U : 0U);
  }
  std::string putPortVlan(std::size_t n) {
    const unsigned inner = n % 3 == 1 ? 0 : static_cast<unsigned>(n % 4094 + 1);
    const auto tag = static_cast<unsigned>(n * 3 % 4095);
    portVlans_->entries.put(keyOf(n), {.innerVlan = static_cast<std::uint16_t>(inner),
                                       .dot1qTag = static_cast<std::uint16_t>(tag)});
    return format("%-8s%-15u%-15s%-15u\n", shortNameOf(n).c_str(), portVlanOf(n).vlan,
                  numberOrDash(inner).c_str(), tag);
  }
  std::string putDvpVlan(std::size_t n) {
    const auto tag = static_cast<unsigned>(n * 7 % 4095);
    vxlanVlans_->entries.put(keyOf(n),
                             {.dvp = numberOf(n), .dot1qTag = static_cast<std::uint16_t>(tag)});
    return format("%-8u%-15u%-15s%-15u\n", numberOf(n), portVlanOf(n).vlan, shortNameOf(n).c_str(),
                  tag);
  }

  Qel::Ptr<EgrVlanXlateVxlanVfiConfigDir> vlanVnis_ = Qel::makePtr<EgrVlanXlateVxlanVfiConfigDir>();
  Qel::Ptr<EgrPortVlanXlateStatusDir> portVlans_ = Qel::makePtr<EgrPortVlanXlateStatusDir>();
  Qel::Ptr<EgrVxlanVlanXlateStatusDir> vxlanVlans_ = Qel::makePtr<EgrVxlanVlanXlateStatusDir>();
};

template <class Translation>
DumpKind kind(const std::string& name, bool json, std::optional<std::size_t> only,
              std::size_t maxRows, unsigned defaultWindows) {
  return {.name = name,
          .format = json ? Rendering::kJson : Rendering::kText,
          .make = [=] { return std::make_unique<Translation>(json, only); },
          .maxRows = maxRows,
          .defaultWindows = defaultWindows,
          .rowsAreAppended = false};
}

}  // namespace

// A section that grows alone ends where its window does; three that grow together share one.
std::vector<DumpKind> vlanTranslationDumps() {
  constexpr std::size_t kPortVlans = kInterfaces * 3;
  return {
      kind<IngressDump>("IngressTranslation", false, std::nullopt, kAscendingVlans * 3, 1),
      kind<IngressDump>("IngressTranslationJson", true, std::nullopt, kAscendingVlans * 3, 0),
      kind<IngressDump>("IngressTunnelEnds", false, 0, 60000, 1),
      kind<IngressDump>("IngressVlanSvps", false, 1, kAscendingVlans, 0),
      kind<IngressDump>("IngressPortVlans", false, 2, kPortVlans, 2),
      kind<EgressDump>("EgressTranslation", false, std::nullopt, kAscendingVlans * 3, 1),
      kind<EgressDump>("EgressTranslationJson", true, std::nullopt, kAscendingVlans * 3, 0),
      kind<EgressDump>("EgressVlanVnis", false, 0, kAscendingVlans * 2, 0),
      kind<EgressDump>("EgressPortVlans", false, 1, kPortVlans, 2),
      kind<EgressDump>("EgressDvpVlans", false, 2, kPortVlans, 2),
  };
}

}  // namespace KorvoL2::Testing

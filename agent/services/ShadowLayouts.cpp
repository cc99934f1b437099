#include "agent/services/ShadowLayouts.h"

#include <array>

namespace KorvoAgent {

namespace {

using Field = ShadowLayout::Field;

constexpr std::uint32_t kNumVfis = 16'384;
constexpr std::uint32_t kNumVirtualPorts = 32'768;
constexpr std::uint32_t kNumTranslations = 131'072;
constexpr std::uint32_t kNumTagProfiles = 256;

// Fields that several tables have.
constexpr Field kPort{"port", "Port", 16};
constexpr Field kVlan{"vlan", "VLAN", 12};
constexpr Field kVfi{"vfi", "VFI", 14};
constexpr Field kVni{"vni", "VNI", 24};
constexpr Field kSvp{"svp", "SVP", 15};
constexpr Field kDvp{"dvp", "DVP", 15};
constexpr Field kTag{"tag", "Tag", 12};
constexpr Field kMcastGroup{"mcastGroup", "Mcast group", 16};
constexpr Field kTagProfile{"tagProfile", "Tag profile", 8};
// What becomes of a tag: 0 stays, 1 added, 2 replaced, 3 removed.
constexpr Field kOuterAction{"outerAction", "Outer action", 2};
constexpr Field kInnerAction{"innerAction", "Inner action", 2};

constexpr std::array kEgrVfiFields{kVni, kVlan, kTagProfile};
constexpr std::array kEgrXlate2Fields{kDvp, kVfi, kTag, kTagProfile};
constexpr std::array kEgrXlateFields{kPort, kVlan, kTag, kTagProfile};
constexpr std::array kTagProfileFields{kOuterAction, kInnerAction};
constexpr std::array kSourceVpFields{kVfi, kVlan, kTagProfile};
constexpr std::array kVfiFields{kVni, kVlan, kMcastGroup};
constexpr std::array kVlanXlate2Fields{kSvp, kVlan, kVfi, kTagProfile};
constexpr std::array kVlanXlateFields{kPort, kVlan, kSvp, kTagProfile};

constexpr std::array<ShadowLayout, kNumShadowTables> kLayouts{{
    {"EGR_VFI", "egress virtual forwarding instances", kNumVfis, kEgrVfiFields},
    {"EGR_XLATE_2", "egress VLAN translation, second stage", kNumTranslations, kEgrXlate2Fields},
    {"EGR_XLATE", "egress VLAN translation", kNumTranslations, kEgrXlateFields},
    {"EVTAP", "egress VLAN tag action profiles", kNumTagProfiles, kTagProfileFields},
    {"IVTAP", "ingress VLAN tag action profiles", kNumTagProfiles, kTagProfileFields},
    {"SOURCE_VP", "source virtual ports", kNumVirtualPorts, kSourceVpFields},
    {"VFI", "virtual forwarding instances", kNumVfis, kVfiFields},
    {"VLAN_XLATE_2", "ingress VLAN translation, second stage", kNumTranslations, kVlanXlate2Fields},
    {"VLAN_XLATE", "ingress VLAN translation", kNumTranslations, kVlanXlateFields},
}};

}  // namespace

std::span<const ShadowLayout, kNumShadowTables> shadowLayouts() { return kLayouts; }

}  // namespace KorvoAgent

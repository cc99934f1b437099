// The rows of the command table.
#include <array>

#include "client/CommandListing.h"
#include "client/CommandOptions.h"
#include "client/CommandTable.h"

namespace KorvoCtl {

namespace {

constexpr std::array<std::string_view, 1> kDiffTotals = {
    "Total entries different between software and hardware:"};

constexpr std::array<std::string_view, 2> kMissingTotals = {"Total entries missing in software:",
                                                            "Total entries missing in hardware:"};

constexpr CommandRow kCommands[] = {
    {.path = "show mac address-table",
     .entry = Entry::kAsync,
     .keyword = "MACT_ALL",
     .summary = "Software MAC address table",
     .example = "korvoctl show mac address-table --json"},

    {.path = "show mac hardware",
     .entry = Entry::kAsync,
     .keyword = "MACT_HW_ALL",
     .options = kDetailAndChips,
     .summary = "MAC address table of each chip",
     .details = "--detail adds the index of each entry in the hardware table.",
     .example = "korvoctl show mac hardware --chip 0,1 --detail"},

    {.path = "show router-mac",
     .entry = Entry::kPlain,
     .keyword = "PER_VLAN_ENTRY",
     .options = kRouterMacOptions,
     .summary = "Router MAC addresses of VLANs",
     .example = "korvoctl show router-mac --vlan 10"},

    {.path = "show multicast groups",
     .entry = Entry::kPlain,
     .keyword = "MCAST_ALL",
     .summary = "Software multicast groups",
     .example = "korvoctl show multicast groups"},

    {.path = "show multicast groups hardware",
     .entry = Entry::kPlain,
     .keyword = "HW_MCAST_ALL",
     .options = kGroupOptions,
     .summary = "Multicast groups of the chips",
     .details =
         "--differences leaves out what is as the shadow says: the agent's own record of what\n"
         "it has written to the chips.",
     .example = "korvoctl show multicast groups hardware --index 7"},

    {.path = "show mlag egress-mask",
     .entry = Entry::kPlain,
     .keyword = "EGR_MASK_STATUS",
     .summary = "Egress masks of MLAG",
     .details =
         "Which port-channels frames from the peer link must not leave by, since the peer has\n"
         "sent them there already.",
     .example = "korvoctl show mlag egress-mask"},

    {.path = "show fifo registers",
     .entry = Entry::kPlain,
     .keyword = "HW_FIFOREG",
     .summary = "FIFOs that report learned addresses",
     .details = "The registers of each chip's FIFO, then what the agent's monitor of them knows.",
     .example = "korvoctl show fifo registers"},

    {.path = "show vlan vfi",
     .entry = Entry::kPlain,
     .keyword = "VlanVfiMap",
     .summary = "VFI of each VLAN",
     .details = "The virtual forwarding instance (VFI) that each VLAN was given.",
     .example = "korvoctl show vlan vfi"},

    {.path = "show vlan range ingress",
     .entry = Entry::kAsync,
     .keyword = "ING_VLAN_RANGE",
     .whenEmpty = "no interface has VLAN ranges",
     .summary = "Ingress VLAN ranges of each interface",
     .example = "korvoctl show vlan range ingress"},

    // The JSON form of the two translation dumps is an empty object: their tables are text.
    {.path = "show vlan translation ingress",
     .entry = Entry::kAsync,
     .keyword = "VLAN_XLATE_STATUS",
     .textOnly = true,
     .summary = "Ingress VLAN translation",
     .example = "korvoctl show vlan translation ingress"},

    {.path = "show vlan translation ingress stage-2",
     .entry = Entry::kPlain,
     .keyword = "VLAN_XLATE_STATUS_2",
     .summary = "Ingress translation, second stage",
     .example = "korvoctl show vlan translation ingress stage-2"},

    {.path = "show vlan translation egress",
     .entry = Entry::kAsync,
     .keyword = "EGR_VLAN_XLATE_STATUS",
     .textOnly = true,
     .summary = "Egress VLAN translation",
     .example = "korvoctl show vlan translation egress"},

    {.path = "show vlan translation egress stage-2",
     .entry = Entry::kPlain,
     .keyword = "EGR_VLAN_XLATE_STATUS_2",
     .summary = "Egress translation, second stage",
     .example = "korvoctl show vlan translation egress stage-2"},

    {.path = "show vxlan vlan",
     .entry = Entry::kAsync,
     .keyword = "VXLAN_VLAN",
     .options = kDetailOnly,
     .whenEmpty = "VXLAN carries no VLAN",
     .summary = "VNI and VFI of each VLAN in VXLAN",
     .details = "--detail adds each VLAN's multicast index, SVP and interfaces. In JSON a VLAN\n"
                "without a mapping has the key 1, so a document may hold this key more than once.",
     .example = "korvoctl show vxlan vlan --detail"},

    {.path = "show vxlan vlan summary",
     .entry = Entry::kSync,
     .keyword = "VXLAN_VLAN_SUMMARY",
     .summary = "VLANs that VXLAN carries, in short",
     .example = "korvoctl show vxlan vlan summary"},

    {.path = "show vxlan routing",
     .entry = Entry::kAsync,
     .keyword = "VXLAN_ROUTING_INFO",
     .summary = "Routing information of VXLAN",
     .example = "korvoctl show vxlan routing"},

    {.path = "show vxlan destination",
     .entry = Entry::kPlain,
     .keyword = "EcmpOutputIntfTunnelId",
     .options = kDestinationOptions,
     .positionals = kDestinationMac,
     .whenEmpty = "no tunnel: the VLAN has no such address behind one, or the interface no VLAN; "
                  "see 'korvoctl show vxlan vlan' and 'korvoctl show mac address-table'",
     .emptyMeansNo = true,
     .summary = "Tunnel that a frame would take",
     .details =
         "Prints the number of the VXLAN tunnel through which a frame to the address MAC would\n"
         "leave. When there is none it prints nothing and ends with exit status 1. INTERFACE is\n"
         "written in full or as tables show it: Ethernet3/3 or Et3/3.",
     .example = "korvoctl show vxlan destination 0200.0200.0008 --vlan 10"},

    {.path = "show vxlan virtual-ports",
     .entry = Entry::kPlain,
     .keyword = "VXLAN_SVP_USAGE",
     .summary = "Usage of source virtual ports",
     .example = "korvoctl show vxlan virtual-ports"},

    {.path = "show vxlan counters vni ingress",
     .entry = Entry::kPlain,
     .keyword = "VniIngressFlexCountersValues",
     .summary = "Ingress counters of each VNI",
     .example = "korvoctl show vxlan counters vni ingress"},

    {.path = "show vxlan counters vni ingress summary",
     .entry = Entry::kPlain,
     .keyword = "VniIngressFlexCountersSummary",
     .summary = "Ingress counters of VNIs, in short",
     .example = "korvoctl show vxlan counters vni ingress summary"},

    {.path = "show vxlan counters vni egress",
     .entry = Entry::kPlain,
     .keyword = "VniEgressFlexCountersValues",
     .summary = "Egress counters of each VNI",
     .example = "korvoctl show vxlan counters vni egress"},

    {.path = "show vxlan counters vni egress summary",
     .entry = Entry::kPlain,
     .keyword = "VniEgressFlexCountersSummary",
     .summary = "Egress counters of VNIs, in short",
     .example = "korvoctl show vxlan counters vni egress summary"},

    {.path = "show vxlan counters vtep decap",
     .entry = Entry::kPlain,
     .keyword = "FCVDV",
     .summary = "Decapsulation counters of each VTEP",
     .example = "korvoctl show vxlan counters vtep decap"},

    {.path = "show vxlan counters vtep decap summary",
     .entry = Entry::kPlain,
     .keyword = "FCVDS",
     .summary = "Decapsulation counters, in short",
     .example = "korvoctl show vxlan counters vtep decap summary"},

    {.path = "show vxlan debug",
     .entry = Entry::kPlain,
     .keyword = "VXLAN_DEBUG_STATE",
     .summary = "What the software knows of VXLAN",
     .example = "korvoctl show vxlan debug"},

    {.path = "show shadow vlan-xlate",
     .entry = Entry::kPlain,
     .keyword = "ShadowShow+VLAN_XLATE",
     .options = kShadowOptions,
     .summary = "Ingress VLAN translation table",
     .details = "Reads what the software keeps of the hardware table, not the hardware.",
     .example = "korvoctl show shadow vlan-xlate --chip 0 --entry 5 --raw"},

    {.path = "show shadow vlan-xlate-2",
     .entry = Entry::kPlain,
     .keyword = "ShadowShow+VLAN_XLATE_2",
     .options = kShadowOptions,
     .summary = "Ingress translation, second stage",
     .details = "Reads what the software keeps of the hardware table, not the hardware.",
     .example = "korvoctl show shadow vlan-xlate-2"},

    {.path = "show shadow egress-vlan-xlate",
     .entry = Entry::kPlain,
     .keyword = "ShadowShow+EGR_XLATE",
     .options = kOneChipShadowOptions,
     .summary = "Egress VLAN translation table",
     .details = "Reads what the software keeps of the hardware table, not the hardware.",
     .example = "korvoctl show shadow egress-vlan-xlate --chip 0"},

    {.path = "show shadow egress-vlan-xlate-2",
     .entry = Entry::kPlain,
     .keyword = "ShadowShow+EGR_XLATE_2",
     .options = kShadowOptions,
     .summary = "Egress translation, second stage",
     .details = "Reads what the software keeps of the hardware table, not the hardware.",
     .example = "korvoctl show shadow egress-vlan-xlate-2"},

    {.path = "show shadow vfi",
     .entry = Entry::kPlain,
     .keyword = "ShadowShow+VFI",
     .options = kShadowOptions,
     .summary = "VFI table",
     .details = "Reads what the software keeps of the hardware table, not the hardware.",
     .example = "korvoctl show shadow vfi --entry 4106"},

    {.path = "show shadow egress-vfi",
     .entry = Entry::kPlain,
     .keyword = "ShadowShow+EGR_VFI",
     .options = kShadowOptions,
     .summary = "Egress VFI table",
     .details = "Reads what the software keeps of the hardware table, not the hardware.",
     .example = "korvoctl show shadow egress-vfi"},

    {.path = "show shadow source-vp",
     .entry = Entry::kPlain,
     .keyword = "ShadowShow+SOURCE_VP",
     .options = kShadowOptions,
     .summary = "Source virtual port table",
     .details = "Reads what the software keeps of the hardware table, not the hardware.",
     .example = "korvoctl show shadow source-vp --all"},

    {.path = "show shadow ingress-tag-actions",
     .entry = Entry::kPlain,
     .keyword = "ShadowShow+IVTAP",
     .options = kShadowOptions,
     .summary = "Ingress VLAN tag action profiles",
     .details = "Reads what the software keeps of the hardware table, not the hardware.",
     .example = "korvoctl show shadow ingress-tag-actions"},

    {.path = "show shadow egress-tag-actions",
     .entry = Entry::kPlain,
     .keyword = "ShadowShow+EVTAP",
     .options = kShadowOptions,
     .summary = "Egress VLAN tag action profiles",
     .details = "Reads what the software keeps of the hardware table, not the hardware.",
     .example = "korvoctl show shadow egress-tag-actions"},

    {.path = "check mac diff",
     .entry = Entry::kAsync,
     .keyword = "MACT_DIFF",
     .options = kDetailAndChips,
     .totals = kDiffTotals,
     .summary = "Entries that differ between the sides",
     .details = "Has the hardware table of each chip read and compared, which takes a while.\n"
                "The two sides are the software's table and the hardware's. Exit status 1 when an\n"
                "entry differs. The total counts an entry once for each chip that differs.\n"
                "--detail adds the hardware index.",
     .example = "korvoctl check mac diff && echo same"},

    {.path = "check mac missing",
     .entry = Entry::kAsync,
     .keyword = "MACT_MISSING",
     .options = kDetailAndChips,
     .totals = kMissingTotals,
     .summary = "MAC entries that one side lacks",
     .details = "Has the hardware table of each chip read and compared, which takes a while.\n"
                "The two sides are the software's table and the hardware's. Exit status 1 when an\n"
                "entry is missing. The totals count an entry once for each chip.\n"
                "--detail adds the key type and the hardware index.",
     .example = "korvoctl check mac missing --json"},

    {.path = "clear multicast shadow",
     .entry = Entry::kPlain,
     .keyword = "HW_MCAST_CLEAR",
     .summary = "Empty the shadow of multicast groups",
     .details =
         "At once and without asking: the agent forgets which multicast groups it has written\n"
         "to the hardware. What software wants and what the hardware holds stay as they are,\n"
         "so frames are forwarded as before. 'show multicast groups hardware --differences'\n"
         "then lists every group that the hardware holds, until the agent writes it again.\n"
         "Prints nothing.",
     .example = "korvoctl clear multicast shadow"},

    {.path = "agent status",
     .entry = Entry::kAgent,
     .keyword = "status",
     .summary = "State of the agent",
     .example = "korvoctl agent status"},

    {.path = "agent chips",
     .entry = Entry::kAgent,
     .keyword = "chips",
     .summary = "Forwarding chips, with number and name",
     .example = "korvoctl agent chips"},

    {.path = "agent requests",
     .entry = Entry::kAgent,
     .keyword = "requests",
     .summary = "Requests in progress",
     .example = "korvoctl agent requests"},

    {.path = "agent cancel",
     .entry = Entry::kAgent,
     .keyword = "cancel",
     .positionals = kRequestNumber,
     .summary = "End a request in progress",
     .example = "korvoctl agent cancel 7"},

    {.path = "agent schema",
     .entry = Entry::kAgent,
     .keyword = "schema",
     .summary = "Schema of the switch state document",
     .example = "korvoctl agent schema --json"},

    {.path = "commands",
     .local = &listCommands,
     .summary = "Every command, with its keyword",
     .details =
         "Asks no agent. The keyword is what goes to the agent, through the entry that is named\n"
         "beside it. A line below has the arguments where there are any: brackets stand around\n"
         "what may be left out, | between what excludes each other, and LIST is numbers of chips\n"
         "with commas between. --json says the same to tools, with options and help texts.",
     .example = "korvoctl commands --json"},

    {.path = "raw",
     .build = &rawRequest,
     .textOnly = true,
     .positionals = kRawWords,
     .summary = "Send one command unchanged",
     .details =
         "Several words of COMMAND are joined with single blanks; quote it where that is not\n"
         "what is meant, and put -- before a COMMAND that begins with a dash.",
     .example = "korvoctl raw async json MACT_ALL"},
};

constexpr CommandGroup kGroups[] = {
    {.path = "show", .summary = "Show tables"},
    {.path = "show mac", .summary = "MAC address tables"},
    {.path = "show multicast", .summary = "Multicast groups"},
    {.path = "show mlag", .summary = "Multi-chassis link aggregation"},
    {.path = "show fifo", .summary = "FIFOs of the chips"},
    {.path = "show vlan", .summary = "VLAN tables"},
    {.path = "show vlan range", .summary = "VLAN ranges"},
    {.path = "show vlan translation", .summary = "VLAN translation tables"},
    {.path = "show vxlan", .summary = "VXLAN tables"},
    {.path = "show vxlan counters", .summary = "VXLAN counters"},
    {.path = "show vxlan counters vni", .summary = "Counters of VNIs"},
    {.path = "show vxlan counters vtep", .summary = "Counters of VTEPs"},
    {.path = "show shadow", .summary = "What the software keeps of hardware tables"},
    {.path = "check", .summary = "Compare software and hardware"},
    {.path = "check mac", .summary = "Compare MAC address tables"},
    {.path = "clear", .summary = "Clear what the agent keeps"},
    {.path = "clear multicast", .summary = "Clear what it keeps of multicast groups"},
    {.path = "agent", .summary = "Questions about the agent itself"},
};

}  // namespace

std::span<const CommandRow> commandTable() { return kCommands; }
std::span<const CommandGroup> commandGroups() { return kGroups; }

}  // namespace KorvoCtl

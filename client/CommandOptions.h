// The options and arguments that rows of the command table name.
#pragma once

#include <array>

#include "client/CommandTable.h"

namespace KorvoCtl {

inline constexpr CommandOption kDetail = {
    .name = "--detail", .text = " detail", .help = "Show more of each entry"};

inline constexpr std::array kDetailOnly = {kDetail};

inline constexpr std::array kDetailAndChips = {
    kDetail, CommandOption{.name = "--chip",
                           .kind = ValueKind::kChips,
                           .help = "Chips by number or name, separated by commas (all)"}};

inline constexpr std::array kGroupOptions = {
    CommandOption{.name = "--differences",
                  .text = "HW_MCAST_DIFF",
                  .replacesKeyword = true,
                  .choice = 1,
                  .help = "Only the groups that differ from the shadow"},
    CommandOption{.name = "--index",
                  .kind = ValueKind::kNumber,
                  .text = "HW_MCAST_MCIDX+",
                  .replacesKeyword = true,
                  .choice = 1,
                  .help = "Only the group of this index"}};

inline constexpr std::array kRouterMacOptions = {
    CommandOption{.name = "--vlan",
                  .kind = ValueKind::kVlan,
                  .text = "PER_VLAN_ENTRY_VLAN-",
                  .replacesKeyword = true,
                  .choice = 1,
                  .help = "Only this VLAN's entries"},
    CommandOption{.name = "--mac",
                  .kind = ValueKind::kMac,
                  .text = "PER_VLAN_ENTRY_MAC-",
                  .replacesKeyword = true,
                  .choice = 1,
                  .help = "Only this address's entries"}};

// The agent wants all three values and takes VLAN 0 for "that of the interface". The interface
// stands last, where no character of its name can be taken for another key.
inline constexpr std::array kDestinationMac = {Positional{.name = "MAC",
                                                          .kind = ValueKind::kMac,
                                                          .text = "+dst-mac=",
                                                          .help = "Where the frame goes to"}};

inline constexpr std::array kDestinationOptions = {
    CommandOption{.name = "--vlan",
                  .kind = ValueKind::kVlan,
                  .text = ",vlan-id=",
                  .absent = ",vlan-id=0",
                  .choice = 1,
                  .needed = true,
                  .help = "The frame's VLAN"},
    CommandOption{.name = "--interface",
                  .kind = ValueKind::kInterface,
                  .text = ",ingress-intf-id=",
                  .absent = ",ingress-intf-id=",
                  .choice = 1,
                  .needed = true,
                  .help = "Where the frame comes in; its access VLAN counts"}};

inline constexpr CommandOption kEntry = {.name = "--entry",
                                         .kind = ValueKind::kNumber,
                                         .text = "+VAL+",
                                         .choice = 1,
                                         .help = "Only the entry of this index"};
inline constexpr CommandOption kAllEntries = {.name = "--all",
                                              .text = "+ALLENTRIES",
                                              .choice = 1,
                                              .help = "Every entry, those that are not valid too"};
inline constexpr CommandOption kRaw = {
    .name = "--raw", .text = "+RAW", .help = "The entries' words as the hardware holds them"};

inline constexpr std::array kShadowOptions = {
    CommandOption{.name = "--chip",
                  .kind = ValueKind::kChip,
                  .text = "+CHIP+",
                  .help = "One chip by number or name (all)"},
    kEntry, kAllEntries, kRaw};

inline constexpr std::array kOneChipShadowOptions = {
    CommandOption{.name = "--chip",
                  .kind = ValueKind::kChip,
                  .text = "+CHIP+",
                  .needed = true,
                  .help = "The chip by number or name; needed"},
    kEntry, kAllEntries, kRaw};

inline constexpr std::array kRequestNumber = {
    Positional{.name = "N",
               .kind = ValueKind::kRequest,
               .text = " ",
               .help = "Number of the request, as 'agent requests' lists it"}};

inline constexpr std::array kRawWords = {
    Positional{.name = "ENTRY", .help = "plain, sync, async or agent"},
    Positional{.name = "FORMAT", .help = "text or json"},
    Positional{.name = "COMMAND", .repeats = true, .help = "The command, sent unchanged"}};

}  // namespace KorvoCtl

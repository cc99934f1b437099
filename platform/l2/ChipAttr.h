// What a forwarding chip can do.
#pragma once

#include <string>

#include "platform/base/Entity.h"
#include "platform/collections/KeyedCollection.h"

namespace KorvoL2 {

/** Attributes of one kind of chip. Set up once, read-only afterwards. */
struct ChipAttr final : public Qel::RefCounted {
  bool ingVlanXlate = false;  ///< ingress VLAN translation
  bool egrVlanXlate = false;  ///< egress VLAN translation
};

/**
 * What a chip's layer-2 tables can do about ingress VLAN ranges: one range instead of one entry for
 * each VLAN. Set up once, read-only afterwards.
 */
struct ChipL2TableFeature final : public Qel::RefCounted {
  bool ingVlanRange = false;          ///< ranges are supported
  bool ingVlanDynamicRange = false;   ///< each port takes ranges of its own from a shared pool
  bool ingVlanRangeDisabled = false;  ///< the tables are laid out so that there are no ranges
};

/** The platform attributes table: chip identity (a name such as "quorra2") to attributes. */
using ChipAttrDir = Qel::KeyedCollection<std::string, Qel::Ptr<const ChipAttr>>;

}  // namespace KorvoL2

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

/** The platform attributes table: chip identity (a name such as "quorra2") to attributes. */
using ChipAttrDir = Qel::KeyedCollection<std::string, Qel::Ptr<const ChipAttr>>;

}  // namespace KorvoL2

#include "agent/chips/PropertyDirs.h"

#include <string>

namespace KorvoAgent {

namespace Property = KorvoL2::EntryProperty;

PropertyDirs::Dir PropertyDirs::make(const HwMacEntry& entry) {
  auto dir = Qel::makePtr<KorvoL2::EntryPropertyDir>();
  // Of the first and the last only the name is shown.
  if (entry.dstDiscard) dir->propertyIs(Property::kDstDiscard, "1");
  const std::string number = std::to_string(entry.destinationNumber);
  switch (entry.destinationKind) {
    case HwDestinationKind::none:
      break;
    case HwDestinationKind::port:
      dir->propertyIs(Property::kMod, number);
      dir->propertyIs(Property::kPort, std::to_string(entry.destinationPort));
      break;
    case HwDestinationKind::trunk:
      dir->propertyIs(Property::kTrunkId, number);
      break;
    case HwDestinationKind::mcastGroup:
      dir->propertyIs(Property::kMcastId, number);
      break;
  }
  if (entry.classId != 0) dir->propertyIs(Property::kClassId, std::to_string(entry.classId));
  dir->propertyIs(Property::kMacAddressType,
                  std::string(kHwMacTypeWords[static_cast<std::size_t>(entry.type)]));
  if (entry.invalid) dir->propertyIs(Property::kInvalidEntry, "1");
  return dir;
}

}  // namespace KorvoAgent

// The agent's hardware table reader, and the result tables that it fills.
//
// A consistency check posts one read request for each chip and a closing request with the null
// chip; the reader reads each chip's hardware MAC table, compares it with the software shadow,
// fills the result table that the request names, and sets that table's completion flag when
// everything before the closing request is done. The flag is the only signal that comes back. A
// reader that cannot complete a table says so in the table; whoever asks for the flag then gets an
// exception with the reason, so no check waits for a table that will never be complete.
//
// Threading: the agent's event-loop thread only; reads run between slices of it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/base/Attribute.h"
#include "platform/base/Exceptions.h"
#include "platform/base/Tracked.h"
#include "platform/collections/KeyedCollection.h"
#include "platform/types/FapId.h"
#include "platform/types/L2HwEntryKey.h"
#include "platform/types/MacVlanPair.h"

namespace KorvoL2 {

class KorvoL2McastHelper;

/** Names of the properties of a MAC table entry that the reports know. */
namespace EntryProperty {
inline constexpr std::string_view kDstDiscard = "dstDiscard";
inline constexpr std::string_view kMcastId = "mcastId";
inline constexpr std::string_view kTrunkId = "trunkId";
inline constexpr std::string_view kMod = "mod";
inline constexpr std::string_view kPort = "port";
inline constexpr std::string_view kClassId = "classId";
inline constexpr std::string_view kMacAddressType = "macAddressType";
inline constexpr std::string_view kInvalidEntry = "Invalid Entry";
}  // namespace EntryProperty

/**
 * The properties of one entry on one side, name to value. A handful each, so they lie in a row and
 * are searched in order; names are those of EntryProperty, or texts that outlive the directory.
 */
class EntryPropertyDir final : public Qel::RefCounted {
  QEL_TRACKED_ALLOCATION(EntryPropertyDir)
 public:
  /** Sets a property, replacing its value. */
  void propertyIs(std::string_view name, std::string value);
  /** The value of `name`, or null. */
  const std::string* property(std::string_view name) const noexcept;
  std::size_t size() const noexcept { return properties_.size(); }

 private:
  std::vector<std::pair<std::string_view, std::string>> properties_;
};

/** One entry whose software and hardware contents disagree. */
class DiffMacEntry final : public Qel::RefCounted {
  QEL_TRACKED_ALLOCATION(DiffMacEntry)
 public:
  /** What software holds; null when it holds nothing. */
  Qel::Ptr<const EntryPropertyDir> swEntry;
  /** What each chip that disagrees holds, by chip name. */
  std::map<std::string, Qel::Ptr<const EntryPropertyDir>, std::less<>> hwEntries;
  /** How many chips disagree. */
  std::uint32_t diffCount = 0;
  /** Index in the hardware table. */
  std::int32_t hwTblIndex = 0;
};

/** One entry that exists on one side only. */
class MissingMacEntry final : public Qel::RefCounted {
  QEL_TRACKED_ALLOCATION(MissingMacEntry)
 public:
  /** True: in software, missing from the hardware of `modules`. False: in their hardware only. */
  bool inSw = false;
  std::int32_t hwTblIndex = 0;
  /** Names of the chips concerned, each once, ascending. */
  std::vector<std::string> modules;
};

/** What the two result tables share: the entries and the completion flag. */
template <class Key, class Entry>
class MacResultTable : public Qel::Entity {
 public:
  using Collection = Qel::KeyedCollection<Key, Qel::Ptr<Entry>>;
  Collection& entries() noexcept { return entries_; }
  const Collection& entries() const noexcept { return entries_; }
  /**
   * Set by the reader when nothing will be added any more. Throws Qel::Exception with the reader's
   * reason when the reader has given up: the entries are then some of those that there are.
   */
  bool readComplete() const {
    if (!whyGivenUp_.empty()) throw Qel::Exception(whyGivenUp_);
    return readComplete_;
  }
  void readCompleteIs(bool complete) { attributeIs(readComplete_, complete, "readComplete"); }
  /** Why the table will never be complete; empty as long as it may be. */
  QEL_ATTRIBUTE(std::string, whyGivenUp)

 private:
  bool readComplete_ = false;
  Collection entries_;
};

class DiffMacEntryTable final : public MacResultTable<Bridging::MacVlanPair, DiffMacEntry> {
  QEL_TRACKED_ALLOCATION(DiffMacEntryTable)
};
class MissingMacEntryTable final : public MacResultTable<L2HwEntryKey, MissingMacEntry> {
  QEL_TRACKED_ALLOCATION(MissingMacEntryTable)
};

/** What is to be compared. */
enum class L2TableReadType : std::uint8_t { difference = 2, missing = 3 };

/** One read request; exactly one of the two tables is set. */
struct L2TableReadReq {
  std::uint64_t transactionId = 0;
  Qel::Ptr<MissingMacEntryTable> missingEntryTable;
  Qel::Ptr<DiffMacEntryTable> diffEntryTable;
  L2TableReadType type = L2TableReadType::difference;
  /** The chip to read; the null id closes the sequence of requests for this table. */
  Tessar::FapId fapId;
};

class L2TableReadSm : public Qel::Entity {
 public:
  /** A number that no other request of this reader has. */
  virtual std::uint64_t createTransactionId() = 0;
  /** The multicast helper that knows the groups of entries to be compared; not owned. */
  virtual void mcastHelperIs(KorvoL2McastHelper* helper) = 0;
  /** Queues a request. The reader drops it when the table that it names has no other user left. */
  virtual void newReqIs(const L2TableReadReq& request) = 0;
};

}  // namespace KorvoL2

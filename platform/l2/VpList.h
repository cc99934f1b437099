// The virtual ports of each VLAN: which interfaces carry it, and under which number.
//
// The agent keeps virtual ports by interface; a dump that goes VLAN by VLAN turns that table round
// into a list of its own. On a large switch that is a row for every interface of every VLAN, so the
// list is made to be small: 24 rows share a block of 248 bytes, a little more than ten bytes a row.
// For 4,094 VLANs with 200 interfaces each that is 10 MB. Blocks come from a few large slabs, so
// that a list is given back in a few steps, not in one for each block.
//
//  - Order is ascending by key. Keys that come in ascending order are appended and fill the blocks;
//    others find their place at the cost of a binary search and the move of half a block.
//  - Positioning costs O(log n) for the n interfaces of one VLAN, so that a walk can stop and
//    resume anywhere in a VLAN that very many interfaces carry.
//
// Threading: the agent's event-loop thread only.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/base/Ptr.h"
#include "platform/l2/VxlanRecords.h"
#include "platform/types/IntfId.h"
#include "platform/types/PortVlanKey.h"
#include "platform/types/VlanId.h"

namespace KorvoL2 {

/** Rows of virtual ports that lie together in memory. */
struct VirtualPortBlock {
  static constexpr std::size_t kRows = 24;
  // Apart, for side by side they would take 16 bytes a row.
  std::array<Bridging::IntfId, kRows> intf;
  std::array<VirtualPortInfo, kRows> port;
  std::uint16_t size = 0;
};
static_assert(sizeof(VirtualPortBlock) <= 248);

/** Where the blocks of all lists of one request live; they are given back together. */
class VirtualPortBlocks final : public Qel::RefCounted {
 public:
  /** An empty block; valid as long as this object. */
  VirtualPortBlock* make();

 private:
  // The first slab is small, for most switches are; the largest, a quarter of a MiB, bounds what is
  // taken and not used.
  static constexpr std::size_t kFirstSlab = 16;
  static constexpr std::size_t kLargestSlab = 1024;

  std::vector<std::unique_ptr<VirtualPortBlock[]>> slabs_;
  std::size_t slabSize_ = 0;  // of the last slab, in blocks
  std::size_t used_ = 0;      // of those
};

/** The virtual ports of one VLAN, by interface. */
class VlanVpList final : public Qel::RefCounted {
  using Block = VirtualPortBlock;

 public:
  using Key = Bridging::PortVlanKey;
  struct Entry {
    Key key;
    VirtualPortInfo value;
  };

  /** Read-only forward iterator. Going past the end throws AssertionException. */
  class const_iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Entry;
    using difference_type = std::ptrdiff_t;
    using pointer = const Entry*;
    using reference = const Entry&;

    const_iterator() = default;
    reference operator*() const;
    pointer operator->() const { return &**this; }
    const_iterator& operator++();
    const_iterator operator++(int) {
      const_iterator before = *this;
      ++*this;
      return before;
    }
    friend bool operator==(const const_iterator& a, const const_iterator& b) {
      return a.block_ == b.block_ && a.row_ == b.row_;
    }

   private:
    friend class VlanVpList;
    const_iterator(const VlanVpList* list, std::size_t block, std::size_t row);
    void load();

    const VlanVpList* list_ = nullptr;
    std::size_t block_ = 0;  // of the end: one past the last block, row 0
    std::size_t row_ = 0;
    Entry entry_;
  };

  /** A list whose blocks come from `blocks`. */
  explicit VlanVpList(Bridging::VlanId vlan,
                      Qel::Ptr<VirtualPortBlocks> blocks = Qel::makePtr<VirtualPortBlocks>())
      : vlan_(vlan), memory_(std::move(blocks)) {}

  Bridging::VlanId vlan() const noexcept { return vlan_; }
  std::size_t size() const noexcept { return size_; }
  bool empty() const noexcept { return size_ == 0; }

  /**
   * Adds the virtual port or replaces it. Throws AssertionException when the key is of another
   * VLAN. A failed insertion leaves the list as it was.
   */
  void virtualPortListIs(const Key& key, VirtualPortInfo port);

  const_iterator begin() const { return const_iterator(this, 0, 0); }
  const_iterator end() const { return const_iterator(this, blocks_.size(), 0); }
  /** The entry of `key` or, without one, the first after it; end() if there is none. */
  const_iterator lowerBound(const Key& key) const;

  /** What a resumable walk asks of a collection; nobody else can damage this one. */
  void corruptionDetected(std::string_view /*message*/) const noexcept {}

 private:
  struct Place {
    std::size_t block;
    std::size_t row;
  };
  /** Where the first row is that is not before `intf`; may be one past the last row of a block. */
  Place placeOf(Bridging::IntfId intf) const;
  void append(Bridging::IntfId intf, VirtualPortInfo port);
  void insert(Place place, Bridging::IntfId intf, VirtualPortInfo port);

  Bridging::VlanId vlan_;
  std::size_t size_ = 0;
  Qel::Ptr<VirtualPortBlocks> memory_;
  std::vector<Block*> blocks_;  // in memory_; none is empty
};

/** The lists of all VLANs that have one. */
class VpList final : public Qel::RefCounted {
 public:
  /** The list of `vlan`, made now if there was none. */
  VlanVpList& vlanVpListIs(Bridging::VlanId vlan);
  /** The list of `vlan`, or null. */
  const VlanVpList* vlanVpList(Bridging::VlanId vlan) const noexcept;
  bool vlanVpListHas(Bridging::VlanId vlan) const noexcept { return vlanVpList(vlan) != nullptr; }
  /** How many VLANs have a list. */
  std::size_t size() const noexcept { return size_; }

 private:
  // By VLAN number: it is looked up for every row that is added.
  std::vector<Qel::Ptr<VlanVpList>> lists_;
  Qel::Ptr<VirtualPortBlocks> blocks_ = Qel::makePtr<VirtualPortBlocks>();
  std::size_t size_ = 0;
};

/** A new list without VLANs. */
Qel::Ptr<VpList> vpListFactory();

}  // namespace KorvoL2

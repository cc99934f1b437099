#include "platform/l2/VpList.h"

#include <algorithm>

#include "platform/base/Exceptions.h"

namespace KorvoL2 {

using Bridging::IntfId;
using Bridging::VlanId;

VirtualPortBlock* VirtualPortBlocks::make() {
  if (used_ == slabSize_) {
    const std::size_t size = std::clamp(slabSize_ * 2, kFirstSlab, kLargestSlab);
    slabs_.push_back(std::make_unique<VirtualPortBlock[]>(size));
    slabSize_ = size;
    used_ = 0;
  }
  return &slabs_.back()[used_++];
}

VlanVpList::const_iterator::const_iterator(const VlanVpList* list, std::size_t block,
                                           std::size_t row)
    : list_(list), block_(block), row_(row) {
  load();
}

void VlanVpList::const_iterator::load() {
  if (block_ == list_->blocks_.size()) return;
  const Block& block = *list_->blocks_[block_];
  entry_ = {Key(block.intf[row_], list_->vlan_), block.port[row_]};
}

VlanVpList::const_iterator::reference VlanVpList::const_iterator::operator*() const {
  QEL_ASSERT(list_ != nullptr && block_ < list_->blocks_.size());
  return entry_;
}

VlanVpList::const_iterator& VlanVpList::const_iterator::operator++() {
  QEL_ASSERT(list_ != nullptr && block_ < list_->blocks_.size());
  if (++row_ == list_->blocks_[block_]->size) {
    ++block_;
    row_ = 0;
  }
  load();
  return *this;
}

VlanVpList::const_iterator VlanVpList::lowerBound(const Key& key) const {
  Place place = placeOf(key.intf());
  const bool pastBlock = place.block != blocks_.size() && place.row == blocks_[place.block]->size;
  if (pastBlock) place = {place.block + 1, 0};
  // A key of the same interface and a higher VLAN lies behind this list's row of the interface.
  const_iterator it(this, place.block, place.row);
  if (it != end() && it->key < key) ++it;
  return it;
}

VlanVpList::Place VlanVpList::placeOf(IntfId intf) const {
  if (blocks_.empty()) return {0, 0};
  // The last block that does not begin behind `intf`, else the first.
  auto at = std::ranges::upper_bound(blocks_, intf, {},
                                     [](const Block* block) { return block->intf.front(); });
  if (at != blocks_.begin()) --at;
  const auto rows = (*at)->intf.begin();
  const auto row = std::lower_bound(rows, rows + (*at)->size, intf);
  return {static_cast<std::size_t>(at - blocks_.begin()), static_cast<std::size_t>(row - rows)};
}

void VlanVpList::virtualPortListIs(const Key& key, VirtualPortInfo port) {
  QEL_ASSERT(key.vlan() == vlan_);
  const IntfId intf = key.intf();
  if (blocks_.empty() || blocks_.back()->intf[blocks_.back()->size - 1U] < intf) {
    append(intf, port);
    return;
  }
  const Place place = placeOf(intf);
  Block& block = *blocks_[place.block];
  if (place.row < block.size && block.intf[place.row] == intf) {
    block.port[place.row] = port;
  } else {
    insert(place, intf, port);
  }
}

void VlanVpList::append(IntfId intf, VirtualPortInfo port) {
  if (blocks_.empty() || blocks_.back()->size == Block::kRows) {
    blocks_.push_back(memory_->make());
  }
  Block& block = *blocks_.back();
  block.intf[block.size] = intf;
  block.port[block.size] = port;
  ++block.size;
  ++size_;
}

void VlanVpList::insert(Place place, IntfId intf, VirtualPortInfo port) {
  if (blocks_[place.block]->size == Block::kRows) {
    constexpr std::size_t kHalf = Block::kRows / 2;
    Block* const upper = memory_->make();
    blocks_.insert(blocks_.begin() + static_cast<std::ptrdiff_t>(place.block) + 1, upper);
    Block& full = *blocks_[place.block];
    std::copy(full.intf.begin() + kHalf, full.intf.end(), upper->intf.begin());
    std::copy(full.port.begin() + kHalf, full.port.end(), upper->port.begin());
    full.size = kHalf;
    upper->size = Block::kRows - kHalf;
    if (place.row > kHalf) place = {place.block + 1, place.row - kHalf};
  }
  Block& block = *blocks_[place.block];
  std::copy_backward(block.intf.begin() + place.row, block.intf.begin() + block.size,
                     block.intf.begin() + block.size + 1);
  std::copy_backward(block.port.begin() + place.row, block.port.begin() + block.size,
                     block.port.begin() + block.size + 1);
  block.intf[place.row] = intf;
  block.port[place.row] = port;
  ++block.size;
  ++size_;
}

VlanVpList& VpList::vlanVpListIs(VlanId vlan) {
  if (lists_.size() <= vlan.value()) lists_.resize(vlan.value() + std::size_t{1});
  Qel::Ptr<VlanVpList>& list = lists_[vlan.value()];
  if (list == nullptr) {
    list = Qel::makePtr<VlanVpList>(vlan, blocks_);
    ++size_;
  }
  return *list;
}

const VlanVpList* VpList::vlanVpList(VlanId vlan) const noexcept {
  return vlan.value() < lists_.size() ? lists_[vlan.value()].get() : nullptr;
}

Qel::Ptr<VpList> vpListFactory() { return Qel::makePtr<VpList>(); }

}  // namespace KorvoL2

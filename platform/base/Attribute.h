// What the class of an entity declares in one line each: itself, and its attributes.
//
//   class Request : public Qel::Entity {
//     QEL_ENTITY_CLASS(Request, "Commands::Request")
//    public:
//     /** The command asks for detail. */
//     QEL_ATTRIBUTE(bool, detail)
//
// The attribute's line declares the stored member `detail_` (zero at first), the reader `detail()`
// and the setter `detailIs(value)`, which publishes "detail" when the value differs from the stored
// one. What follows such a line in the class is public.
//
// A type with a comma in it needs a name of its own. Collections have no common form; they publish
// through Entity::changed().
#pragma once

#include <string_view>
#include <type_traits>

#include "platform/base/Entity.h"
#include "platform/base/Tracked.h"

namespace Qel {

/** What a reader returns: small plain values themselves, anything else by reference. */
template <class T>
using AttributeRead =
    std::conditional_t<std::is_trivially_copyable_v<T> && sizeof(T) <= 2 * sizeof(void*), T,
                       const T&>;

}  // namespace Qel

/** An allocator of the class's own, and its name as `fmTypeName` and in its type data. */
#define QEL_ENTITY_CLASS(Class, typeName)                     \
  QEL_TRACKED_ALLOCATION(Class)                               \
 public:                                                      \
  static constexpr std::string_view fmTypeName = typeName;    \
  const ::Qel::TypeData& typeData() const noexcept override { \
    static constexpr ::Qel::TypeData kType{fmTypeName};       \
    return kType;                                             \
  }                                                           \
                                                              \
 private:

/** An attribute that is set when the entity is made, or by members of another form. */
#define QEL_FIXED_ATTRIBUTE(Type, attr) \
 private:                               \
  Type attr##_{};                       \
                                        \
 public:                                \
  ::Qel::AttributeRead<Type> attr() const noexcept { return attr##_; }

#define QEL_ATTRIBUTE(Type, attr) \
  QEL_FIXED_ATTRIBUTE(Type, attr) \
  void attr##Is(Type value) { attributeIs(attr##_, static_cast<Type&&>(value), #attr); }

/** An attribute that is also added to: attrInc(by). */
#define QEL_COUNTER(Type, attr) \
  QEL_ATTRIBUTE(Type, attr)     \
  void attr##Inc(Type by) { attr##Is(attr##_ + by); }

/** An ordered set and its members: memberIs, memberDel, memberDelAll, memberHas. */
#define QEL_SET_ATTRIBUTE(Set, attr, member)                                  \
  QEL_FIXED_ATTRIBUTE(Set, attr)                                              \
  bool member##Has(Set::key_type key) const { return attr##_.contains(key); } \
  void member##Is(Set::key_type key) {                                        \
    if (attr##_.insert(key).second) changed(#attr);                           \
  }                                                                           \
  void member##Del(Set::key_type key) {                                       \
    if (attr##_.erase(key) != 0) changed(#attr);                              \
  }                                                                           \
  void member##Del(Set::const_iterator position) {                            \
    attr##_.erase(position);                                                  \
    changed(#attr);                                                           \
  }                                                                           \
  void member##DelAll() {                                                     \
    if (attr##_.empty()) return;                                              \
    attr##_.clear();                                                          \
    changed(#attr);                                                           \
  }

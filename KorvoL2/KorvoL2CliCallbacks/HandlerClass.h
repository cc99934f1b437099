// What every handler class declares about itself.
#pragma once

#include <string_view>

#include "platform/base/Entity.h"
#include "platform/base/Tracked.h"

/**
 * Inside the body of a handler class: its allocator, and its name qualified by its enclosing
 * classes as `fmTypeName` and in its type data.
 */
#define KORVO_L2_HANDLER(Class) KORVO_L2_HANDLER_NAMED(Class, #Class)

/** The same for a class that is known by another name than its own. */
#define KORVO_L2_HANDLER_NAMED(Class, typeName)             \
  QEL_TRACKED_ALLOCATION(Class)                             \
 public:                                                    \
  static constexpr std::string_view fmTypeName = typeName;  \
  const Qel::TypeData& typeData() const noexcept override { \
    static constexpr Qel::TypeData kType{fmTypeName};       \
    return kType;                                           \
  }                                                         \
                                                            \
 private:

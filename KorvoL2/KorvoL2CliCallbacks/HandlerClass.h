// What every handler class declares about itself.
#pragma once

#include "platform/base/Attribute.h"

/**
 * Inside the body of a handler class: its allocator, and its name qualified by its enclosing
 * classes as `fmTypeName` and in its type data.
 */
#define KORVO_L2_HANDLER(Class) QEL_ENTITY_CLASS(Class, #Class)

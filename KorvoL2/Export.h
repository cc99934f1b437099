// What a symbol needs to be seen outside the plug-in, which is built with hidden visibility.
#pragma once

/**
 * Marks what a host that links the plug-in may call: the factories and creation functions, and of
 * what they return every public member that is not inline. Constructors are not among it: objects
 * come from their factories.
 */
#define KORVO_L2_API __attribute__((visibility("default")))

// What a symbol needs to be seen outside the plug-in, which is built with hidden visibility.
#pragma once

/** Marks the functions by which a host reaches the plug-in: factories and creation functions. */
#define KORVO_L2_API __attribute__((visibility("default")))

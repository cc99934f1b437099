// Which of several names somebody may have meant.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace Text {

/**
 * The number of changes of single characters (insert, remove, replace, swap of neighbours) that
 * lead from one word to the other, whatever their case. Costs the product of the two lengths.
 */
std::size_t editDistance(std::string_view a, std::string_view b);

/** The name closest to `given`, if it is close enough to be meant; else empty. */
std::string_view nearName(std::string_view given, std::span<const std::string_view> names);

/**
 * What to say about a `given` name that is none of `names`: "did you mean "vlan"?" or, when nothing
 * is near, all of them.
 */
std::string nearNameHint(std::string_view given, std::span<const std::string_view> names);

}  // namespace Text

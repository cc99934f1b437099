// The interfaces of the made-up switch.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace KorvoL2::Testing {

struct Interface {
  std::string name;
  std::string shortName;
};

/** Names of every kind: short, long, of no known kind, with what JSON or a terminal minds. */
const std::vector<Interface>& oddInterfaces();

/**
 * Interface number `i`, 0 to kInterfaces - 1: one of many kinds, each name once, in no order. None
 * has bytes that documents print in different ways.
 */
const Interface& interfaceOf(std::size_t i);
inline constexpr std::size_t kInterfaces = 8192;

/** The numbers below `count` in the order of their interfaces, which is a person's. */
std::vector<std::size_t> interfacesInOrder(std::size_t count);

}  // namespace KorvoL2::Testing

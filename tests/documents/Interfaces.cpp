#include "tests/documents/Interfaces.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "tests/documents/Text.h"

namespace KorvoL2::Testing {

namespace {

bool isDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

/** Whether a person lists `a` before `b`: numbers count as numbers, everything else by its bytes.
 */
bool before(std::string_view a, std::string_view b) {
  while (!a.empty() && !b.empty()) {
    if (isDigit(a[0]) && isDigit(b[0])) {
      std::size_t lengthA = 0;
      std::size_t lengthB = 0;
      while (lengthA < a.size() && isDigit(a[lengthA])) ++lengthA;
      while (lengthB < b.size() && isDigit(b[lengthB])) ++lengthB;
      const auto numberA = std::strtoull(std::string(a.substr(0, lengthA)).c_str(), nullptr, 10);
      const auto numberB = std::strtoull(std::string(b.substr(0, lengthB)).c_str(), nullptr, 10);
      if (numberA != numberB) return numberA < numberB;
      a.remove_prefix(lengthA);
      b.remove_prefix(lengthB);
    } else {
      if (a[0] != b[0]) return static_cast<unsigned char>(a[0]) < static_cast<unsigned char>(b[0]);
      a.remove_prefix(1);
      b.remove_prefix(1);
    }
  }
  return a.empty() && !b.empty();
}

Interface make(std::size_t i) {
  const auto n = static_cast<unsigned>(i);
  const std::string number = std::to_string(n);
  switch (i % 8) {
    case 0:
      return {"Port-Channel" + number, "Po" + number};
    case 1:
      return {"uplink-to-spine-" + number, "uplink-to-spine-" + number};
    case 2:
      return {"Ethernet" + number, "Et" + number};
    case 3:
      return {"odd\"name\\" + number, "odd\"name\\" + number};
    case 4:
      return {"Gr\u00fcn" + number, "Gr\u00fcn" + number};
    case 5:
      return {"Vxlan" + number, "Vx" + number};
    default: {
      const std::string place = format("%u/%u/%u", 1 + n % 16, 1 + n / 16 % 48, n / 768);
      return {"Ethernet" + place, "Et" + place};
    }
  }
}

std::vector<Interface> makeAll() {
  std::vector<Interface> all;
  for (std::size_t i = 0; i < kInterfaces; ++i) all.push_back(make(i));
  return all;
}

const std::vector<Interface>& all() {
  static const std::vector<Interface> interfaces = makeAll();
  return interfaces;
}

std::vector<std::size_t> sortAll() {
  std::vector<std::size_t> order(kInterfaces);
  for (std::size_t i = 0; i < kInterfaces; ++i) order[i] = i;
  std::ranges::sort(
      order, [](std::size_t a, std::size_t b) { return before(all()[a].name, all()[b].name); });
  return order;
}

}  // namespace

const std::vector<Interface>& oddInterfaces() {
  static const std::vector<Interface> interfaces{
      {"Ethernet3/1", "Et3/1"},
      {"", ""},
      {"Port-Channel10", "Po10"},
      {"uplink-to-spine-east-1", "uplink-to-spine-east-1"},
      {"Vxlan1", "Vx1"},
      {"Port-Channel1234567890", "Po1234567890"},
      {"Ethernet12/48/4", "Et12/48/4"},
      {"twelve-bytes", "twelve-bytes"},
      {"a \"quoted\\name", "a \"quoted\\name"},
      {"elevenbytes", "elevenbytes"},
      {"Vlan4094", "Vl4094"},
      {"Gr\u00fcn7", "Gr\u00fcn7"},
      {"esc\x1b[2J", "esc\x1b[2J"},
      {std::string(63, 'n'), std::string(63, 'n')},
      {"Management1", "Ma1"},
      {"Loopback0", "Lo0"},
      {"Recirc-Channel1", "Re1"},
  };
  return interfaces;
}

const Interface& interfaceOf(std::size_t i) { return all().at(i); }

std::vector<std::size_t> interfacesInOrder(std::size_t count) {
  static const std::vector<std::size_t> order = sortAll();
  std::vector<std::size_t> chosen;
  for (const std::size_t i : order) {
    if (i < count) chosen.push_back(i);
  }
  return chosen;
}

}  // namespace KorvoL2::Testing

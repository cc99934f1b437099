#include "platform/types/IpAddr.h"

#include <arpa/inet.h>

#include "platform/base/Exceptions.h"
#include "text/Printable.h"

namespace Bridging {

IpAddr::IpAddr(std::string_view text) {
  const auto parsed = parse(text);
  if (!parsed) {
    throw Qel::ParseException(Text::inQuotes(text) +
                              " is no IP address: write d.d.d.d or h:h:h:h:h:h:h:h, with :: for "
                              "a run of zeros");
  }
  *this = *parsed;
}

std::optional<IpAddr> IpAddr::parse(std::string_view text) noexcept {
  // The system's parser wants a terminator, and would stop at one within the text.
  char terminated[INET6_ADDRSTRLEN];
  if (text.size() >= sizeof(terminated) || text.find('\0') != std::string_view::npos) {
    return std::nullopt;
  }
  terminated[text.copy(terminated, text.size())] = '\0';
  IpAddr addr;
  addr.isV6_ = text.find(':') != std::string_view::npos;
  if (::inet_pton(addr.isV6_ ? AF_INET6 : AF_INET, terminated, addr.bytes_.data()) != 1) {
    return std::nullopt;
  }
  return addr;
}

std::string IpAddr::stringValue() const {
  char text[INET6_ADDRSTRLEN];
  // The buffer takes every address of both families, which is all that could go wrong.
  return ::inet_ntop(isV6_ ? AF_INET6 : AF_INET, bytes_.data(), text, sizeof(text));
}

}  // namespace Bridging

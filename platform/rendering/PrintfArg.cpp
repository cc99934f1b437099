#include "platform/rendering/PrintfArg.h"

#include <fmt/args.h>
#include <fmt/printf.h>

#include "text/Printable.h"

namespace Rendering {

std::string formatPrintf(std::string_view format, std::initializer_list<PrintfArg> arguments) {
  fmt::dynamic_format_arg_store<fmt::printf_context> store;
  store.reserve(arguments.size(), 0);
  for (const PrintfArg& argument : arguments) {
    switch (argument.kind()) {
      case PrintfArg::Kind::signedInteger:
        store.push_back(static_cast<std::int64_t>(argument.number()));
        break;
      case PrintfArg::Kind::unsignedInteger:
        store.push_back(argument.number());
        break;
      case PrintfArg::Kind::character:
        store.push_back(static_cast<char>(argument.number()));
        break;
      case PrintfArg::Kind::text:
        if (Text::isPrintable(argument.text())) {
          store.push_back(argument.text());
        } else {
          store.push_back(Text::printable(argument.text()));
        }
        break;
    }
  }
  return fmt::vsprintf(fmt::string_view(format),
                       fmt::basic_format_args<fmt::printf_context>(store));
}

}  // namespace Rendering

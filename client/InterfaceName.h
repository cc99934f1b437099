// Names of interfaces, in full and short, as the agent knows them.
#pragma once

#include <string>
#include <string_view>

#include "client/ExitStatus.h"

namespace KorvoCtl {

// The full name of the interface that the operator called `wanted`. json: the agent's answer to the
// question "interface NAME", {"interfaces":[{"name":"Ethernet3/3","shortName":"Et3/3"}]}, whose
// list is empty where the agent knows none that goes by that name.
[[nodiscard]] Result<std::string> resolveInterface(std::string_view wanted, std::string_view json);

}  // namespace KorvoCtl

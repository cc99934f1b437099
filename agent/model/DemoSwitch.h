// A small switch to try commands on.
#pragma once

#include "agent/model/SwitchModel.h"

namespace KorvoAgent {

/**
 * Makes `model` a switch of three chips with a few VLANs and port-channels, about two hundred MAC
 * entries of every type, among them names too wide for their column and entries that dumps skip,
 * and VXLAN networks with translated tags (DemoVxlan.h); its chips hold a few entries otherwise,
 * and some not at all. Always the same.
 */
void fillDemo(SwitchModel& model);

}  // namespace KorvoAgent

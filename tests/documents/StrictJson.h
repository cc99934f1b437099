// A reader that takes nothing but JSON.
#pragma once

#include <string>

namespace KorvoL2::Testing {

/**
 * What is wrong with `text` as one JSON document, or "". No object may have a member twice, but for
 * members "1" of the object that is the member `repeatedKeyIn` of another; "" for none.
 */
std::string jsonFault(const std::string& text, const std::string& repeatedKeyIn);

}  // namespace KorvoL2::Testing

// Ordered chains of command handlers.
//
// A chain is a table: one row per command, keyword and handler class, in the order in which they
// are tried. For each command the chain's handlers are made afresh; the first one whose condition
// holds is taken.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "KorvoL2/Trace.h"
#include "platform/base/Exceptions.h"
#include "platform/base/Ptr.h"

namespace KorvoL2 {

/** One row of a chain of handlers with the base class `Base`. */
template <class Base>
struct ChainRow {
  std::string_view keyword;
  Qel::Ptr<Base> (*make)(std::string_view keyword);
};

namespace Detail {
template <class Base, class Class>
Qel::Ptr<Base> makeHandler(std::string_view keyword) {
  return Qel::makePtr<Class>(std::string(keyword));
}
}  // namespace Detail

/** The row of a handler class. A class that does not supply the base's action does not compile. */
template <class Base, class Class>
constexpr ChainRow<Base> chainRow(std::string_view keyword) {
  static_assert(std::is_base_of_v<Base, Class>);
  static_assert(!std::is_same_v<decltype(&Class::action), decltype(&Base::action)>,
                "a handler must override action");
  return {.keyword = keyword, .make = &Detail::makeHandler<Base, Class>};
}

/** Whether keyword `later`, tested by prefix, can never be reached behind `earlier`. */
constexpr bool hides(std::string_view earlier, std::string_view later) {
  return later.starts_with(earlier);
}

/**
 * The first row that breaks the rules of a chain, or its size: no keyword is that of an earlier row
 * or begins with one, and none is empty but the last, which takes what is left over.
 */
template <class Base>
constexpr std::size_t firstFaultyRow(std::span<const ChainRow<Base>> chain) {
  for (std::size_t row = 0; row < chain.size(); ++row) {
    if (chain[row].keyword.empty() != (row + 1 == chain.size())) return row;
    for (std::size_t earlier = 0; earlier < row; ++earlier) {
      if (hides(chain[earlier].keyword, chain[row].keyword)) return row;
    }
  }
  return chain.size();
}

/** The handlers of a chain, made for one command and released with it. */
template <class Base>
class HandlerList {
 public:
  explicit HandlerList(std::span<const ChainRow<Base>> chain) {
    handlers_.reserve(chain.size());
    for (const ChainRow<Base>& row : chain) handlers_.push_back(row.make(row.keyword));
  }

  /**
   * The first handler whose condition holds for `callback`, or null. `prepare`, void(const Base&),
   * sets what conditions and actions read of the callback; it is called before each condition.
   */
  template <class Callback, class Prepare>
  Base* firstWilling(const Qel::Ptr<Callback>& callback, Prepare&& prepare) const {
    for (const Qel::Ptr<Base>& handler : handlers_) {
      prepare(*handler);
      if (handler->condition(callback)) return handler.get();
    }
    return nullptr;
  }

 private:
  std::vector<Qel::Ptr<Base>> handlers_;
};

/**
 * Offers the callback's command to a chain whose last row takes everything; gives back what the
 * action gives. `site` is who got the command; `prepare` is that of HandlerList::firstWilling.
 */
template <class Base, class Callback, class Prepare>
auto dispatch(std::span<const ChainRow<Base>> chain, const Qel::Ptr<Callback>& callback,
              const Qel::TraceSite& site, Prepare&& prepare) {
  const HandlerList<Base> handlers(chain);
  Base* const handler = handlers.firstWilling(callback, std::forward<Prepare>(prepare));
  QEL_ASSERT(handler != nullptr);
  KORVO_L2_TRACE_AT(5, site, "Executing handler {}", handler->cmdName());
  return handler->action(callback);
}

}  // namespace KorvoL2

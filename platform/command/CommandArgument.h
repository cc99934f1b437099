// Which argument of a command an exception is about.
//
// Value types and number readers refuse a value in words of their own, such as "stoi", which other
// code may know them by. Whoever reads an argument of a command adds which one it was; type and
// text of the exception stay as they are.
//
// Threading: none of its own.
#pragma once

#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "platform/base/Exceptions.h"

namespace AgentCommand {

/** What an exception that left readArgument() tells besides its text. */
class ArgumentNote {
 public:
  /** The argument as a message names it: `name "text"`, control bytes excepted. */
  ArgumentNote(std::string_view name, std::string_view text);
  ArgumentNote(const ArgumentNote&) = default;
  ArgumentNote& operator=(const ArgumentNote&) = default;
  virtual ~ArgumentNote();

  const std::string& argument() const noexcept { return argument_; }

 private:
  std::string argument_;
};

/** An Error with the same text that tells the argument. */
template <class Error>
class ArgumentError final : public Error, public ArgumentNote {
 public:
  ArgumentError(const Error& error, ArgumentNote note)
      : Error(error), ArgumentNote(std::move(note)) {}
};

/**
 * Returns what `read` returns. When it refuses the value, the exception goes on with its type and
 * text, and tells that it is about the argument `name`, which came as `text`.
 */
template <class Read>
auto readArgument(std::string_view name, std::string_view text, Read&& read) {
  try {
    return std::forward<Read>(read)();
  } catch (const Qel::RangeException& error) {
    throw ArgumentError(error, ArgumentNote(name, text));
  } catch (const Qel::ParseException& error) {
    throw ArgumentError(error, ArgumentNote(name, text));
  } catch (const std::invalid_argument& error) {
    throw ArgumentError(error, ArgumentNote(name, text));
  } catch (const std::out_of_range& error) {
    throw ArgumentError(error, ArgumentNote(name, text));
  }
}

/** The text of an exception, behind the argument that it is about if it tells one. */
std::string messageOf(const std::exception& exception);

}  // namespace AgentCommand

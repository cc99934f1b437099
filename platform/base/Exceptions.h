// The framework's exceptions.
//
// Code that serves requests lets them pass: the host of a request catches them at the edge of a
// slice or a handler, ends that one request with their message and goes on.
#pragma once

#include <stdexcept>
#include <string>

namespace Qel {

/** Root of everything that the framework throws on purpose. */
class Exception : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/** A value type was given a value outside its range; the message names type and bounds. */
class RangeException : public Exception {
 public:
  using Exception::Exception;
};

/** A text could not be read as a value of the named type; the message shows the text. */
class ParseException : public Exception {
 public:
  using Exception::Exception;
};

/** An operation that a derived class must supply was called on its base. */
class NoImplementationException : public Exception {
 public:
  using Exception::Exception;
};

/** A shared collection found its own structure broken while it was read. */
class CorruptionException : public Exception {
 public:
  using Exception::Exception;
};

/** An internal assumption does not hold; the message quotes the condition. */
class AssertionException : public Exception {
 public:
  using Exception::Exception;
};

/** Throws AssertionException for `condition`, a C++ expression as text. */
[[noreturn]] void assertionFailed(const char* condition, const char* unit, int line);

/**
 * Throws NoImplementationException "<signature> must be implemented in the derived class".
 * `signature` is the full signature of the base operation, as the compiler spells it.
 */
[[noreturn]] void mustBeImplementedInDerivedClass(const char* signature);

}  // namespace Qel

/**
 * Checks an internal assumption in every build. It throws instead of aborting the process: the
 * library lives inside a switch's forwarding agent, and a broken diagnostic command must cost that
 * command, never the agent.
 */
#define QEL_ASSERT(condition) \
  ((condition) ? static_cast<void>(0) : ::Qel::assertionFailed(#condition, __FILE__, __LINE__))

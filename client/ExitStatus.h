// What a run of the client ends with, and how a step that can fail says so.
//
// The numbers are a contract with scripts: they are listed in the help text and never change
// meaning.
#pragma once

#include <string>
#include <utility>
#include <variant>

namespace KorvoCtl {

enum class ExitStatus : int {
  kOk = 0,           // the command ran
  kNo = 1,           // answered with no: a check found something, what was asked for is not there
  kUsage = 2,        // the command line is wrong; the command was not sent
  kRefused = 3,      // the agent takes no such request, or has no handler for it
  kUnavailable = 4,  // no agent answers, or it is not ready
  kFailed = 5,       // the command failed, or its answer was cut off part-way
};

// Why a step did not succeed: the status to end with and a sentence for the operator, without the
// program's name and without a newline.
struct Problem {
  ExitStatus status = ExitStatus::kFailed;
  // One line, as it came: who writes it to standard error makes it printable.
  std::string message;
  // The client's own lines below it, each with its line end.
  std::string help{};
};

template <class T>
using Result = std::variant<T, Problem>;

// The problem of a result, or null when the step succeeded.
template <class T>
[[nodiscard]] const Problem* problemOf(const Result<T>& result) {
  return std::get_if<Problem>(&result);
}

}  // namespace KorvoCtl

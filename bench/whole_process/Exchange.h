// One command and its answer, from connecting to end-of-file, timed.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace KorvoBench {

/** How an answer came in; times count from just before connecting. */
struct Answer {
  double seconds = 0;
  double firstByteSeconds = 0;
  std::uint64_t bytes = 0;
};

/** A request's last event, and what a reader saw of its answer. */
struct Done {
  std::string status;
  std::uint64_t rows = 0;
  std::uint64_t bytes = 0;
  std::uint64_t slices = 0;
  double worstSliceMs = 0;
  Answer answer;
};

/** The size of the reads of every reading client here, in bytes. */
inline constexpr std::size_t kReadSize = std::size_t{256} * 1024;

/** Reads the answer as fast as it comes and throws it away. */
Answer discardAnswer(const std::string& socketPath, std::string_view line);
/** The whole answer. */
std::string captureAnswer(const std::string& socketPath, std::string_view line);
/** As discardAnswer(), on a socket that is passed along, so that events come too. */
Done discardAnswerWithEvents(const std::string& socketPath, std::string_view line);

/** The request line of a software MAC table dump. */
inline constexpr std::string_view kDumpText = "async text MACT_ALL\n";
inline constexpr std::string_view kDumpJson = "async json MACT_ALL\n";

}  // namespace KorvoBench

// The korvoctl that was built, run as a process of its own.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "client/Descriptor.h"

namespace KorvoCtl {

class Child {
 public:
  // Where a standard stream of the process goes.
  struct Stream {
    enum class Kind { kPipe, kFile, kClosed };
    Kind kind = Kind::kPipe;
    std::string path = {};  // kFile: a file or device that exists
  };
  struct Options {
    Stream output = {};
    Stream errors = {};
    std::vector<std::string> environment = {};
    // Signals that the process starts with as ignored.
    std::vector<int> ignoredSignals = {};
  };

  explicit Child(const std::vector<std::string>& words) : Child(words, Options{}) {}
  Child(const std::vector<std::string>& words, const Options& options);
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  // A process that still runs is killed.
  ~Child();

  // Reads up to `size` bytes of the output; shorter only at its end.
  std::string readOutput(std::size_t size);
  // Reads all that is left. The other pipe must not fill up meanwhile.
  std::string readAllOutput();
  std::string readAllErrors();
  void closeOutput() { output_.close(); }

  void signal(int number) const;
  // Largest memory that the process has had so far, in bytes; only while it runs.
  [[nodiscard]] std::size_t peakMemory() const;

  // Waits for the end. The exit status, or minus the signal's number when one ended the process.
  int wait();

 private:
  pid_t pid_ = -1;
  Descriptor output_;
  Descriptor errors_;
};

}  // namespace KorvoCtl

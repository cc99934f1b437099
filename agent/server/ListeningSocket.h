// The Unix socket that clients connect to, as a file of a path.
#pragma once

#include <sys/types.h>

#include <optional>
#include <stdexcept>
#include <string>

#include "agent/server/Access.h"
#include "agent/server/FileDescriptor.h"

namespace KorvoAgent {

/** The path cannot be served; the message says which and why. */
class ListenError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class ListeningSocket {
 public:
  /**
   * Listens at `path` with mode 0660, as a file of `group` where one is given. What a dead agent
   * left there is replaced; a path at which somebody answers, or that is no socket, is left alone.
   * Throws ListenError.
   */
  explicit ListeningSocket(std::string path, const std::optional<Group>& group = std::nullopt);
  ListeningSocket(const ListeningSocket&) = delete;
  ListeningSocket& operator=(const ListeningSocket&) = delete;
  /** Removes the file, unless it is another agent's by now. */
  ~ListeningSocket();

  int get() const noexcept { return socket_.get(); }
  const std::string& path() const noexcept { return path_; }

 private:
  void takeFile(const std::optional<Group>& group);
  void removeFile() noexcept;

  std::string path_;
  FileDescriptor socket_;
  dev_t device_ = 0;
  ino_t inode_ = 0;
};

}  // namespace KorvoAgent

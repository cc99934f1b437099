#include "agent/server/ListeningSocket.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>
#include <thread>
#include <utility>

namespace KorvoAgent {

namespace {

constexpr mode_t kMode = 0660;

// Room for clients that come while the agent has other things to do, or is stopped: as many as
// there may be connections. No more, for a flood fills any queue, and whoever comes last waits for
// all of it.
constexpr int kBacklog = 1024;

[[noreturn]] void fail(const std::string& path, std::string_view what) {
  throw ListenError(fmt::format("cannot serve at {}: {}", path, what));
}

[[noreturn]] void failWithErrno(const std::string& path, std::string_view what) {
  const int error = errno;
  fail(path, fmt::format("{}: {}", what, std::strerror(error)));
}

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.empty()) throw ListenError("the path of the socket is empty");
  if (path.size() >= sizeof(address.sun_path)) {
    fail(path, fmt::format("the path has {} bytes, a socket's path at most {}", path.size(),
                           sizeof(address.sun_path) - 1));
  }
  std::memcpy(address.sun_path, path.data(), path.size());
  return address;
}

FileDescriptor unixSocket(const std::string& path) {
  FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket.isOpen()) failWithErrno(path, "no socket");
  return socket;
}

/**
 * Keeps a second agent that starts at the same moment from finding the path free too: a lock on a
 * file beside the socket that is there only while an agent starts. Nobody but the agent's own user
 * can open the file, so nobody else can lock it; the folder could be locked by all who may read it.
 */
class StartLock {
 public:
  explicit StartLock(const std::string& path) : path_(path), file_(path + ".lock") {
    constexpr int kTries = 100;
    constexpr std::chrono::milliseconds kPause{20};
    for (int i = 0; i < kTries; ++i) {
      if (taken()) return;
      std::this_thread::sleep_for(kPause);
    }
    fail(path_, fmt::format("another agent is starting there: it keeps {} locked", file_));
  }
  StartLock(const StartLock&) = delete;
  StartLock& operator=(const StartLock&) = delete;
  // Whoever waits for the lock sees that the file is no longer at its path, and makes a new one.
  ~StartLock() { ::unlink(file_.c_str()); }

 private:
  bool taken() {
    constexpr mode_t kOwnersOnly = 0600;
    FileDescriptor lock(::open(file_.c_str(),
                               O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC,
                               kOwnersOnly));
    if (!lock.isOpen()) {
      const bool noFolder = errno == ENOENT || errno == ENOTDIR;
      failWithErrno(
          path_, noFolder ? "folder " + path_.substr(0, path_.rfind('/')) : "lock file " + file_);
    }
    struct stat opened {};
    if (::fstat(lock.get(), &opened) != 0) failWithErrno(path_, "lock file " + file_);
    if (!S_ISREG(opened.st_mode) || opened.st_uid != ::geteuid() ||
        (opened.st_mode & ~kOwnersOnly & 0777) != 0) {
      fail(path_, fmt::format("{} is no lock file of an agent of this user; remove it", file_));
    }
    // A file system without locks is served without one.
    if (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0 && (errno == EWOULDBLOCK || errno == EINTR)) {
      return false;
    }
    struct stat present {};
    if (::lstat(file_.c_str(), &present) != 0 || present.st_dev != opened.st_dev ||
        present.st_ino != opened.st_ino) {
      return false;  // it was the lock of an agent that has started meanwhile
    }
    lock_ = std::move(lock);
    return true;
  }

  const std::string& path_;
  std::string file_;
  FileDescriptor lock_;
};

void removeLeftOver(const std::string& path, const sockaddr_un& address) {
  struct stat file {};
  if (::lstat(path.c_str(), &file) != 0) {
    if (errno == ENOENT) return;
    failWithErrno(path, "cannot look at it");
  }
  if (!S_ISSOCK(file.st_mode)) fail(path, "there is something else that is no socket");
  const FileDescriptor probe = unixSocket(path);
  if (::connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 ||
      errno == EAGAIN) {
    fail(path, "another agent is serving there");
  }
  if (errno == EPROTOTYPE) fail(path, "a socket of another type is in use there");
  if (errno != ECONNREFUSED && errno != ENOENT) {
    failWithErrno(path, "cannot tell whether another agent is serving there");
  }
  if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
    failWithErrno(path, "cannot remove the socket of an agent that is gone");
  }
}

}  // namespace

ListeningSocket::ListeningSocket(std::string path, const std::optional<Group>& group)
    : path_(std::move(path)) {
  const sockaddr_un address = addressOf(path_);
  const StartLock lock(path_);
  removeLeftOver(path_, address);
  FileDescriptor socket = unixSocket(path_);
  // The file is made by bind() with its final mode: at no time can anybody else connect.
  const mode_t before = ::umask(static_cast<mode_t>(~kMode) & 0777);
  const int bound =
      ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address));
  const int bindError = errno;
  ::umask(before);
  errno = bindError;
  if (bound != 0) failWithErrno(path_, "bind");
  try {
    // Before listen(): until then the kernel refuses every connection.
    takeFile(group);
    if (::listen(socket.get(), kBacklog) != 0) failWithErrno(path_, "listen");
  } catch (...) {
    removeFile();
    throw;
  }
  socket_ = std::move(socket);
}

// Notes which file bind() made, and gives it to the group. All of it goes through one descriptor,
// so that what is looked at is what is changed, whatever comes to be at the path meanwhile.
void ListeningSocket::takeFile(const std::optional<Group>& group) {
  const FileDescriptor made(::open(path_.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  struct stat file {};
  if (!made.isOpen() || ::fstat(made.get(), &file) != 0) {
    failWithErrno(path_, "cannot look at it");
  }
  if (!S_ISSOCK(file.st_mode)) fail(path_, "somebody has put something else there");
  device_ = file.st_dev;
  inode_ = file.st_ino;
  constexpr uid_t kSameUser = kNoUser;
  if (group.has_value() && ::fchownat(made.get(), "", kSameUser, group->id, AT_EMPTY_PATH) != 0) {
    failWithErrno(path_, fmt::format("cannot give it to group {}", group->name));
  }
}

void ListeningSocket::removeFile() noexcept {
  struct stat file {};
  if (::lstat(path_.c_str(), &file) == 0 && file.st_dev == device_ && file.st_ino == inode_) {
    ::unlink(path_.c_str());
  }
}

ListeningSocket::~ListeningSocket() { removeFile(); }

}  // namespace KorvoAgent

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <ios>
#include <string>
#include <vector>

#include "agent/server/ListeningSocket.h"

namespace KorvoAgent {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class ListeningSocketTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = (std::filesystem::temp_directory_path() / "korvo-XXXXXX").string();
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    folder = name;
    path = folder + "/agent.sock";
  }
  void TearDown() override { std::filesystem::remove_all(folder); }

  static std::string errorOf(const std::function<void()>& action) {
    try {
      action();
    } catch (const ListenError& e) {
      return e.what();
    }
    return "no error";
  }
  std::string errorAt(const std::string& place) {
    return errorOf([&] { const ListeningSocket socket(place); });
  }

  static bool canConnect(const std::string& place) {
    const FileDescriptor client(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, place.data(), place.size());
    return ::connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) ==
           0;
  }

  /** A socket file as an agent leaves it that was killed. */
  void leaveDeadSocket() const {
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.data(), path.size());
    ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)),
              0);
  }

  std::string folder;
  std::string path;
};

/** What happens to the files of a folder from now on. */
class FolderEvents {
 public:
  explicit FolderEvents(const std::string& folder) : inotify_(::inotify_init1(IN_CLOEXEC)) {
    ::inotify_add_watch(inotify_.get(), folder.c_str(), IN_CREATE | IN_DELETE | IN_CLOSE_WRITE);
  }
  /** All of it so far, of which there is something, in its order. */
  std::vector<std::string> seen() const {
    alignas(inotify_event) std::array<char, 4096> buffer{};
    const ssize_t size = ::read(inotify_.get(), buffer.data(), buffer.size());
    std::vector<std::string> events;
    for (ssize_t at = 0; at < size;) {
      inotify_event event{};
      std::memcpy(&event, buffer.data() + at, sizeof(event));
      const char* const name = buffer.data() + at + sizeof(event);
      const char* const what = (event.mask & IN_CREATE) != 0   ? "create "
                               : (event.mask & IN_DELETE) != 0 ? "delete "
                                                               : "close ";
      events.push_back(std::string(what) + name);
      at += static_cast<ssize_t>(sizeof(event) + event.len);
    }
    return events;
  }

 private:
  FileDescriptor inotify_;
};

TEST_F(ListeningSocketTest, TheFileIsForUserAndGroupOnlyWhateverTheUmask) {
  for (const mode_t mask : {0U, 0077U, 0777U}) {
    const mode_t before = ::umask(mask);
    {
      const ListeningSocket socket(path);
      struct stat file {};
      ASSERT_EQ(::lstat(path.c_str(), &file), 0);
      EXPECT_EQ(file.st_mode & 07777U, 0660U);
      EXPECT_TRUE(canConnect(path));
      EXPECT_EQ(::umask(mask), mask) << "the process's umask was changed";
    }
    ::umask(before);
    EXPECT_FALSE(std::filesystem::exists(path));
  }
}

TEST_F(ListeningSocketTest, AFolderThatSomebodyKeepsLockedIsServedAllTheSame) {
  const FileDescriptor somebody(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  ASSERT_EQ(::flock(somebody.get(), LOCK_EX), 0);
  const ListeningSocket socket(path);
  EXPECT_TRUE(canConnect(path));
}

TEST_F(ListeningSocketTest, NothingButTheSocketIsInTheFolder) {
  const auto names = [this] {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      found.push_back(entry.path().filename().string());
    }
    return found;
  };
  // What an agent left that was killed while it started does not matter, and goes.
  const FileDescriptor left(::open((path + ".lock").c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
  ASSERT_TRUE(left.isOpen());
  {
    const ListeningSocket socket(path);
    EXPECT_THAT(names(), testing::ElementsAre("agent.sock"));
    EXPECT_THAT(errorAt(path), HasSubstr("another agent is serving there"));
    EXPECT_THAT(names(), testing::ElementsAre("agent.sock"));
  }
  EXPECT_THAT(names(), testing::ElementsAre());
}

TEST_F(ListeningSocketTest, TheLockIsKeptFromTheFirstLookAtThePathToTheFinishedSocket) {
  leaveDeadSocket();
  const FolderEvents events(folder);
  const ListeningSocket socket(path);
  // Closing the lock file releases it. It must be gone from its path by then: whoever gets the lock
  // next could otherwise have it removed under him.
  EXPECT_THAT(events.seen(), testing::ElementsAre("create agent.sock.lock", "delete agent.sock",
                                                  "create agent.sock", "delete agent.sock.lock",
                                                  "close agent.sock.lock"));
}

TEST_F(ListeningSocketTest, AnAgentThatStartsKeepsAnotherFromStarting) {
  const FileDescriptor first(::open((path + ".lock").c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600));
  ASSERT_EQ(::flock(first.get(), LOCK_EX), 0);
  EXPECT_THAT(errorAt(path), HasSubstr("another agent is starting there"));
  EXPECT_TRUE(std::filesystem::exists(path + ".lock"));
}

TEST_F(ListeningSocketTest, ALockFileThatOthersCouldHaveOpenedIsNotTrusted) {
  const std::string lock = path + ".lock";
  std::ofstream(lock) << "precious";
  for (const mode_t mode : {0644U, 0660U, 0604U, 0700U}) {
    ASSERT_EQ(::chmod(lock.c_str(), mode), 0);
    EXPECT_THAT(errorAt(path), HasSubstr(lock + " is no lock file")) << std::oct << mode;
  }
  EXPECT_EQ(std::filesystem::file_size(lock), 8U);
  if (::geteuid() == 0) {
    ASSERT_EQ(::chmod(lock.c_str(), 0600), 0);
    ASSERT_EQ(::chown(lock.c_str(), 612345, 612345), 0);
    EXPECT_THAT(errorAt(path), HasSubstr(lock + " is no lock file"));
  }
  std::filesystem::rename(lock, folder + "/elsewhere");
  std::filesystem::create_symlink(folder + "/elsewhere", lock);
  EXPECT_THAT(errorAt(path), HasSubstr("lock file " + lock));
  std::filesystem::remove(lock);
  ASSERT_EQ(::mkfifo(lock.c_str(), 0600), 0);
  EXPECT_THAT(errorAt(path), HasSubstr(lock + " is no lock file"));
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(ListeningSocketTest, WhatADeadAgentLeftIsReplaced) {
  leaveDeadSocket();
  const ListeningSocket socket(path);
  EXPECT_TRUE(canConnect(path));
}

TEST_F(ListeningSocketTest, ALivingAgentIsLeftAlone) {
  const ListeningSocket living(path);
  EXPECT_EQ(errorAt(path), "cannot serve at " + path + ": another agent is serving there");
  EXPECT_TRUE(canConnect(path));
}

TEST_F(ListeningSocketTest, ALivingAgentOfAnotherSocketTypeIsLeftAlone) {
  const FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.data(), path.size());
  ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
  EXPECT_THAT(errorAt(path), HasSubstr("a socket of another type is in use there"));
  EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(ListeningSocketTest, WhatIsNoSocketIsLeftAlone) {
  std::ofstream(path) << "precious";
  EXPECT_THAT(errorAt(path), HasSubstr("there is something else that is no socket"));
  EXPECT_EQ(std::filesystem::file_size(path), 8U);
  const std::string link = folder + "/link";
  std::filesystem::create_symlink(path, link);
  EXPECT_THAT(errorAt(link), HasSubstr("there is something else that is no socket"));
}

TEST_F(ListeningSocketTest, AnotherAgentsSocketIsNotRemovedAtTheEnd) {
  {
    const ListeningSocket first(path);
    std::filesystem::remove(path);
    leaveDeadSocket();
  }
  EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(ListeningSocketTest, PathsThatCannotBeServedAreSaid) {
  EXPECT_EQ(errorAt(""), "the path of the socket is empty");
  const std::string longPath = folder + "/" + std::string(120, 'x');
  EXPECT_THAT(errorAt(longPath),
              AllOf(HasSubstr(longPath), HasSubstr("bytes, a socket's path at most 107")));
  EXPECT_THAT(errorAt(folder + "/none/agent.sock"),
              AllOf(HasSubstr("folder " + folder + "/none"), HasSubstr("No such file")));
}

TEST_F(ListeningSocketTest, TheLongestPathIsServed) {
  const std::string longest = folder + "/" + std::string(107 - folder.size() - 1, 'x');
  ASSERT_EQ(longest.size(), 107U);
  const ListeningSocket socket(longest);
  EXPECT_TRUE(canConnect(longest));
}

}  // namespace
}  // namespace KorvoAgent

// Who is at the other end of a connection, and whether they may change anything.
//
// To look is every client's right that the socket's mode lets in. To change something takes
// privilege: root, the user that the agent runs as, or a member of the agent's admin group.
//
// A peer is who called connect(): the kernel keeps the credentials of that moment, so a process
// that changes its user later, or hands the connection on, changes nothing about it.
//
// Threading: values; none of it is shared.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace KorvoAgent {

struct Group {
  std::string name;  ///< as it was asked for
  gid_t id = 0;
};

/** The group of that name or, where none is called so, of that number; nothing if it is neither. */
std::optional<Group> groupNamed(const std::string& name);

/** What a kernel that does not know answers with: the number of no user and of no group. */
inline constexpr uid_t kNoUser = static_cast<uid_t>(-1);
inline constexpr gid_t kNoGroup = static_cast<gid_t>(-1);

struct Peer {
  uid_t user = kNoUser;
  gid_t group = kNoGroup;
  std::vector<gid_t> groups;  ///< supplementary

  bool isMemberOf(gid_t wanted) const noexcept;
};

/** The peer of a connected Unix socket; one without any right where the kernel does not say. */
Peer peerOf(int connection);

struct AccessPolicy {
  uid_t agentUser = kNoUser;
  std::optional<Group> adminGroup;

  /** The policy of this process: its own user, and the group given. */
  static AccessPolicy ofThisProcess(std::optional<Group> adminGroup);

  /** Whether it is root or the agent's own user, who look after the agent. */
  bool isKeeper(uid_t user) const noexcept;
  bool isPrivileged(const Peer& peer) const noexcept;
  /** For messages: "only root, user 990 and members of group operators". */
  std::string onlyWho() const;
};

}  // namespace KorvoAgent

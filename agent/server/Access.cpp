#include "agent/server/Access.h"

#include <fmt/format.h>
#include <grp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <utility>

namespace KorvoAgent {

namespace {

// Most users are in a few groups; the kernel says so when there are more.
constexpr std::size_t kUsualGroups = 32;

std::vector<gid_t> groupsOf(int connection) {
  std::vector<gid_t> groups(kUsualGroups);
  for (;;) {
    auto bytes = static_cast<socklen_t>(groups.size() * sizeof(gid_t));
    const int got = ::getsockopt(connection, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &bytes);
    const std::size_t count = bytes / sizeof(gid_t);
    if (got == 0) {
      groups.resize(count);
      return groups;
    }
    if (errno != ERANGE || count <= groups.size()) return {};
    groups.resize(count);
  }
}

}  // namespace

std::optional<Group> groupNamed(const std::string& name) {
  if (name.empty()) return std::nullopt;
  if (const ::group* const found = ::getgrnam(name.c_str())) return Group{name, found->gr_gid};
  gid_t id = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), id);
  if (error != std::errc{} || end != name.data() + name.size() || id == kNoGroup) {
    return std::nullopt;
  }
  return Group{name, id};
}

bool Peer::isMemberOf(gid_t wanted) const noexcept {
  return wanted != kNoGroup &&
         (group == wanted || std::ranges::find(groups, wanted) != groups.end());
}

Peer peerOf(int connection) {
  ucred credentials{};
  socklen_t size = sizeof(credentials);
  if (::getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) return {};
  return {credentials.uid, credentials.gid, groupsOf(connection)};
}

AccessPolicy AccessPolicy::ofThisProcess(std::optional<Group> adminGroup) {
  return {::geteuid(), std::move(adminGroup)};
}

bool AccessPolicy::isKeeper(uid_t user) const noexcept {
  return user != kNoUser && (user == 0 || user == agentUser);
}

bool AccessPolicy::isPrivileged(const Peer& peer) const noexcept {
  if (peer.user == kNoUser) return false;
  return isKeeper(peer.user) || (adminGroup.has_value() && peer.isMemberOf(adminGroup->id));
}

std::string AccessPolicy::onlyWho() const {
  std::vector<std::string> who{"root"};
  if (agentUser != 0 && agentUser != kNoUser) who.push_back(fmt::format("user {}", agentUser));
  if (adminGroup.has_value()) who.push_back(fmt::format("members of group {}", adminGroup->name));
  const std::string last = std::move(who.back());
  who.pop_back();
  return who.empty() ? fmt::format("only {}", last)
                     : fmt::format("only {} and {}", fmt::join(who, ", "), last);
}

}  // namespace KorvoAgent

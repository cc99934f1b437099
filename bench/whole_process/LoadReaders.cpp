#include "bench/whole_process/LoadReaders.h"

#include <poll.h>
#include <sys/socket.h>

#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include "bench/whole_process/Exchange.h"
#include "bench/whole_process/Sockets.h"

namespace KorvoBench {

namespace {

struct Reader {
  std::string_view line;
  std::uint64_t expected = 0;
  FileDescriptor socket;
  std::uint64_t bytes = 0;

  void ask(const std::string& socketPath) {
    socket = connectTo(socketPath);
    sendAll(socket.get(), line);
    bytes = 0;
  }
};

void readUntilShut(int link, const std::string& socketPath, std::vector<Reader>& readers) {
  const auto data = std::make_unique<char[]>(kReadSize);
  LoadFigures figures;
  std::vector<pollfd> watched;
  for (Reader& reader : readers) reader.ask(socketPath);
  for (;;) {
    watched.assign(1, {link, POLLIN, 0});
    for (const Reader& reader : readers) watched.push_back({reader.socket.get(), POLLIN, 0});
    if (::poll(watched.data(), watched.size(), -1) < 0) systemFailed("poll");
    if (watched[0].revents != 0) break;
    for (std::size_t i = 0; i < readers.size(); ++i) {
      if (watched[i + 1].revents == 0) continue;
      Reader& reader = readers[i];
      const std::size_t n = receiveSome(reader.socket.get(), data.get(), kReadSize);
      if (figures.bytes == 0) sendAll(link, "r");
      figures.bytes += n;
      reader.bytes += n;
      if (n != 0) continue;
      ++figures.dumps;
      if (reader.bytes != reader.expected) ++figures.wrong;
      reader.ask(socketPath);
    }
  }
  sendAll(link, std::string_view(reinterpret_cast<const char*>(&figures), sizeof figures));
}

}  // namespace

LoadReaders::LoadReaders(const std::string& socketPath, unsigned readers, std::uint64_t textSize,
                         std::uint64_t jsonSize) {
  std::pair<FileDescriptor, FileDescriptor> link = socketPair();
  std::vector<Reader> all(readers);
  for (unsigned i = 0; i < readers; ++i) {
    all[i].line = i % 2 == 0 ? kDumpText : kDumpJson;
    all[i].expected = i % 2 == 0 ? textSize : jsonSize;
  }
  process_ = ChildProcess::fork([&] {
    link.first.reset();
    readUntilShut(link.second.get(), socketPath, all);
  });
  link_ = std::move(link.first);
  link.second.reset();
  char running = 0;
  if (receiveSome(link_.get(), &running, 1) != 1) {
    throw std::runtime_error("the reading clients failed");
  }
}

LoadFigures LoadReaders::stop() {
  ::shutdown(link_.get(), SHUT_WR);
  LoadFigures figures;
  std::size_t got = 0;
  while (got < sizeof figures) {
    const std::size_t n =
        receiveSome(link_.get(), reinterpret_cast<char*>(&figures) + got, sizeof figures - got);
    if (n == 0) throw std::runtime_error("the reading clients failed");
    got += n;
  }
  process_.wait();
  if (figures.wrong != 0) {
    throw std::runtime_error(std::to_string(figures.wrong) + " of " +
                             std::to_string(figures.dumps) + " dumps had a wrong size");
  }
  return figures;
}

}  // namespace KorvoBench

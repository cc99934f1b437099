#include "bench/whole_process/Rivals.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <utility>

#include "bench/whole_process/Sockets.h"

namespace KorvoBench {

namespace {

constexpr std::size_t kPieceSize = std::size_t{64} * 1024;
constexpr std::size_t kMaxRow = 1024;

// Gathers rows and sends them in pieces.
class PieceSender {
 public:
  explicit PieceSender(int socket) : socket_(socket) {}

  void append(std::string_view text) {
    if (text.size() > kMaxRow) throw std::length_error("a part of the dump is too long");
    std::memcpy(end_, text.data(), text.size());
    grown(text.size());
  }
  /** Room for a row. */
  char* room() noexcept { return end_; }
  /** The row is `size` bytes long. */
  void grown(std::size_t size) {
    end_ += size;
    if (end_ - memory_.get() >= static_cast<std::ptrdiff_t>(kPieceSize)) flush();
  }
  void flush() {
    sendAll(socket_,
            std::string_view(memory_.get(), static_cast<std::size_t>(end_ - memory_.get())));
    end_ = memory_.get();
  }

 private:
  int socket_;
  std::unique_ptr<char[]> memory_ = std::make_unique<char[]>(kPieceSize + kMaxRow);
  char* end_ = memory_.get();
};

constexpr unsigned part(std::uint64_t mac, int shift) {
  return static_cast<unsigned>(mac >> shift & 0xffff);
}

// The flag "#" writes no "0x" before a zero, so a row without flags has a format of its own: still
// one call per row.
int textBySnprintf(char* out, const DumpRow& row) {
  if (row.flags == 0) {
    return std::snprintf(out, kMaxRow,
                         "%8u  %04x.%04x.%04x%12s%10s%24s%#12" PRIx64 "%12s   0x0%8s\n", row.vlan,
                         part(row.mac, 32), part(row.mac, 16), part(row.mac, 0), row.intf, "-",
                         row.type, row.bitmap, row.source, row.keyType);
  }
  return std::snprintf(out, kMaxRow, "%8u  %04x.%04x.%04x%12s%10s%24s%#12" PRIx64 "%12s%#6x%8s\n",
                       row.vlan, part(row.mac, 32), part(row.mac, 16), part(row.mac, 0), row.intf,
                       "-", row.type, row.bitmap, row.source, unsigned{row.flags}, row.keyType);
}

int jsonBySnprintf(char* out, const DumpRow& row) {
  return std::snprintf(
      out, kMaxRow,
      "{\"vlan\":%u,\"mac\":\"%04x.%04x.%04x\",\"interface\":\"%s\",\"mcastId\":%u,"
      "\"type\":\"%s\",\"bitmap\":\"0x%" PRIx64
      "\",\"source\":\"%s\",\"flags\":[%s],\"keyType\":\"%s\"},",
      row.vlan, part(row.mac, 32), part(row.mac, 16), part(row.mac, 0), row.intf,
      unsigned{row.mcastId}, row.type, row.bitmap, row.source, row.flagWords, row.keyType);
}

char* textByFmt(char* out, const DumpRow& row) {
  return fmt::format_to(
      out, FMT_COMPILE("{:>8}  {:04x}.{:04x}.{:04x}{:>12}{:>10}{:>24}{:>#12x}{:>12}{:>#6x}{:>8}\n"),
      row.vlan, part(row.mac, 32), part(row.mac, 16), part(row.mac, 0), row.intf, "-", row.type,
      row.bitmap, row.source, row.flags, row.keyType);
}

char* jsonByFmt(char* out, const DumpRow& row) {
  return fmt::format_to(
      out,
      FMT_COMPILE(R"({{"vlan":{},"mac":"{:04x}.{:04x}.{:04x}","interface":"{}","mcastId":{},)"
                  R"("type":"{}","bitmap":"{:#x}","source":"{}","flags":[{}],"keyType":"{}"}},)"),
      row.vlan, part(row.mac, 32), part(row.mac, 16), part(row.mac, 0), row.intf, row.mcastId,
      row.type, row.bitmap, row.source, row.flagWords, row.keyType);
}

// `row` writes one row, in JSON with the comma that follows all rows but the last, and returns its
// length.
template <class WriteRow>
void sendRows(int socket, const CapturedDump& dump, WriteRow row) {
  PieceSender out(socket);
  out.append(dump.head());
  const auto& rows = dump.rows();
  if (!rows.empty()) {
    for (std::size_t i = 0; i + 1 < rows.size(); ++i) out.grown(row(out.room(), rows[i]));
    const std::size_t commas = dump.format() == Format::json ? 1 : 0;
    out.grown(row(out.room(), rows.back()) - commas);
  }
  out.append(dump.tail());
  out.flush();
}

}  // namespace

Rival::Rival(std::string socketPath, const CapturedDump& dump, Sender sender)
    : socketPath_(std::move(socketPath)) {
  const FileDescriptor listener = listenOn(socketPath_);
  process_ = ChildProcess::fork([&] {
    for (;;) {
      const FileDescriptor socket = acceptFrom(listener);
      receiveLine(socket.get());
      enlargeSendBuffer(socket.get());
      sender(socket.get(), dump);
    }
  });
}

void sendReadyMade(int socket, const CapturedDump& dump) {
  const std::string_view bytes = dump.bytes();
  for (std::size_t at = 0; at < bytes.size(); at += kPieceSize) {
    sendAll(socket, bytes.substr(at, kPieceSize));
  }
}

void sendBySnprintf(int socket, const CapturedDump& dump) {
  const auto size = [](int length) { return static_cast<std::size_t>(length); };
  if (dump.format() == Format::text) {
    sendRows(socket, dump,
             [&](char* out, const DumpRow& row) { return size(textBySnprintf(out, row)); });
  } else {
    sendRows(socket, dump,
             [&](char* out, const DumpRow& row) { return size(jsonBySnprintf(out, row)); });
  }
}

void sendByFmt(int socket, const CapturedDump& dump) {
  const auto size = [](const char* begin, const char* end) {
    return static_cast<std::size_t>(end - begin);
  };
  if (dump.format() == Format::text) {
    sendRows(socket, dump,
             [&](char* out, const DumpRow& row) { return size(out, textByFmt(out, row)); });
  } else {
    sendRows(socket, dump,
             [&](char* out, const DumpRow& row) { return size(out, jsonByFmt(out, row)); });
  }
}

}  // namespace KorvoBench

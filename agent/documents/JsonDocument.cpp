#include "agent/documents/JsonDocument.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "agent/documents/DocumentError.h"

namespace KorvoAgent {

namespace {

// Closes what it opened; standard input stays open.
class InputFile {
 public:
  InputFile(const std::string& path, const std::string& name) : name_(name) {
    if (path == "-") {
      fd_ = STDIN_FILENO;
      return;
    }
    fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0) unreadable(errno);
  }
  ~InputFile() {
    if (fd_ > STDIN_FILENO) ::close(fd_);
  }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  /** The size of a regular file in bytes; nothing for a pipe or a device, which may be endless. */
  std::optional<std::size_t> size() const {
    struct stat status {};
    if (::fstat(fd_, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return static_cast<std::size_t>(status.st_size);
  }
  /** Up to `room` bytes; 0 at the end. */
  std::size_t read(char* out, std::size_t room) const {
    for (;;) {
      const ssize_t n = ::read(fd_, out, room);
      if (n >= 0) return static_cast<std::size_t>(n);
      if (errno != EINTR) unreadable(errno);
    }
  }

 private:
  [[noreturn]] void unreadable(int error) const {
    const char* const todo = error == EISDIR ? "name a file" : "check the path and its permissions";
    throw DocumentError(
        fmt::format("{}: cannot be read: {}; {}", name_, std::strerror(error), todo));
  }

  const std::string& name_;
  int fd_ = -1;
};

struct Free {
  void operator()(char* memory) const noexcept { std::free(memory); }
};

// The text, followed by the bytes that simdjson may read beyond its end.
struct DocumentText {
  std::unique_ptr<char, Free> bytes;
  std::size_t capacity = 0;
  std::size_t size = 0;

  std::string_view view() const { return {bytes.get(), size}; }
  /** Throws std::bad_alloc; the text stays. Pages of a large text are moved, not copied. */
  void capacityIs(std::size_t wanted) {
    void* const larger = std::realloc(bytes.get(), wanted + simdjson::SIMDJSON_PADDING);
    if (larger == nullptr) throw std::bad_alloc();
    static_cast<void>(bytes.release());
    bytes.reset(static_cast<char*>(larger));
    capacity = wanted;
  }
};

// Large documents are read in memory of large pages: with small ones a quarter of the time went
// into the kernel's handing them out one by one. Where there are none, nothing changes.
void preferLargePages(void* memory, std::size_t size) {
  constexpr std::size_t kLarge = std::size_t{16} << 20;
  if (memory == nullptr || size < kLarge) return;
  constexpr std::uintptr_t kPage = 4096;
  const std::size_t before = (kPage - reinterpret_cast<std::uintptr_t>(memory) % kPage) % kPage;
  ::madvise(static_cast<char*>(memory) + before, size - before, MADV_HUGEPAGE);
}

// The parser's offsets are numbers of 32 bits.
constexpr std::size_t kMostOfAFile = 4'000'000'000;
// Nobody knows how much a pipe or a device will give. A million MAC entries take 100 to 150 MB.
constexpr std::size_t kMostOfAStream = std::size_t{1} << 30;

[[noreturn]] void refuseLarge(const std::string& name, bool isFile) {
  if (isFile) {
    throw DocumentError(
        fmt::format("{}: has more than {} bytes, the most that a document may have; "
                    "leave out what is not needed",
                    name, kMostOfAFile));
  }
  throw DocumentError(
      fmt::format("{}: has more than {} bytes, the most that is read of what is no "
                  "regular file; write a larger document to a file",
                  name, kMostOfAStream));
}

DocumentText readAll(const std::string& path, const std::string& name) {
  const InputFile file(path, name);
  const std::optional<std::size_t> fileSize = file.size();
  const std::size_t most = fileSize ? kMostOfAFile : kMostOfAStream;
  if (fileSize.value_or(0) > most) refuseLarge(name, true);
  DocumentText text;
  // One byte more than a file's size, so that its end is seen without growing.
  text.capacityIs(std::max<std::size_t>(fileSize.value_or(0) + 1, 1U << 16));
  preferLargePages(text.bytes.get(), text.capacity);
  while (const std::size_t n = file.read(text.bytes.get() + text.size, text.capacity - text.size)) {
    text.size += n;
    if (text.size > most) refuseLarge(name, fileSize.has_value());
    if (text.size == text.capacity) text.capacityIs(std::min(text.capacity * 2, most + 1));
  }
  std::memset(text.bytes.get() + text.size, 0, simdjson::SIMDJSON_PADDING);
  return text;
}

std::string documentName(const std::string& path) { return path == "-" ? "standard input" : path; }

bool isBlank(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

}  // namespace

void refuseForMemory(const std::string& path) {
  throw DocumentError(
      fmt::format("{}: is too large for the memory of this machine", documentName(path)));
}

JsonDocument::JsonDocument(const std::string& path) : name_(documentName(path)) {
  const DocumentText text = readAll(path, name_);
  if (isBlank(text.view())) {
    throw DocumentError(fmt::format(
        "{}: is empty; write a JSON document, or see why the program that should have did not",
        name_));
  }
  if (parser_.allocate(text.size) == simdjson::SUCCESS) {
    preferLargePages(parser_.doc.tape.get(), text.size * sizeof(std::uint64_t));
    preferLargePages(parser_.doc.string_buf.get(), text.size);
  }
  const auto code = parser_.parse(text.bytes.get(), text.size, false).get(root_);
  if (code == simdjson::SUCCESS) return;
  if (code == simdjson::MEMALLOC) throw std::bad_alloc();
  const JsonSyntaxError error = locateJsonSyntaxError(text.view(), code);
  const std::string place =
      error.line == 0 ? std::string() : fmt::format(":{}:{}", error.line, error.column);
  throw DocumentError(
      fmt::format("{}{}: is no JSON here: {}; mend the document", name_, place, error.what));
}

}  // namespace KorvoAgent

#include "tests/client/Terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace KorvoCtl {

Terminal::Terminal() : master_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
  std::array<char, 128> name{};
  if (!master_.isOpen() || ::grantpt(master_.get()) != 0 || ::unlockpt(master_.get()) != 0 ||
      ::ptsname_r(master_.get(), name.data(), name.size()) != 0) {
    throw std::runtime_error("no terminal can be made");
  }
  path_ = name.data();
  slave_ = Descriptor(::open(path_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  // As written, without "\r" before each "\n".
  termios mode{};
  ::tcgetattr(slave_.get(), &mode);
  mode.c_oflag &= ~static_cast<tcflag_t>(OPOST);
  ::tcsetattr(slave_.get(), TCSANOW, &mode);
  widthIs(80);
}

void Terminal::widthIs(unsigned short columns) {
  winsize size{};
  size.ws_row = 24;
  size.ws_col = columns;
  ::ioctl(slave_.get(), TIOCSWINSZ, &size);
}

std::string Terminal::shown() {
  std::string text;
  pollfd entry{.fd = master_.get(), .events = POLLIN, .revents = 0};
  while (::poll(&entry, 1, 0) == 1 && (entry.revents & POLLIN) != 0) {
    std::array<char, 1024> buffer{};
    const ssize_t n = ::read(master_.get(), buffer.data(), buffer.size());
    if (n <= 0) {
      break;
    }
    text.append(buffer.data(), static_cast<std::size_t>(n));
  }
  return text;
}

std::string Terminal::waitFor(const std::string& text) {
  std::string all;
  while (all.find(text) == std::string::npos) {
    pollfd entry{.fd = master_.get(), .events = POLLIN, .revents = 0};
    ::poll(&entry, 1, -1);
    all += shown();
  }
  return all;
}

void Terminal::type(const std::string& keys) {
  [[maybe_unused]] const ssize_t n = ::write(master_.get(), keys.data(), keys.size());
}

}  // namespace KorvoCtl

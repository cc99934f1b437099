// A terminal without a screen: what is written to its slave side can be read by the test.
#pragma once

#include <string>

#include "client/Descriptor.h"

namespace KorvoCtl {

class Terminal {
 public:
  Terminal();

  [[nodiscard]] int slave() const { return slave_.get(); }
  [[nodiscard]] const std::string& path() const { return path_; }
  void widthIs(unsigned short columns);

  // What has been written since the last call; does not wait.
  [[nodiscard]] std::string shown();
  // Waits until the text has come, and returns all up to here.
  [[nodiscard]] std::string waitFor(const std::string& text);
  // Types.
  void type(const std::string& keys);

 private:
  Descriptor master_;
  Descriptor slave_;
  std::string path_;
};

}  // namespace KorvoCtl

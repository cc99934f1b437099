// What the tests of documents share: documents on disk, and where the tests' data stands.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

#include "agent/documents/DocumentError.h"

namespace KorvoAgent::Testing {

inline std::string dataFile(const std::string& name) { return KORVO_TEST_DATA_DIR "/" + name; }

inline std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

/** A file that goes with its object. */
class TemporaryFile {
 public:
  explicit TemporaryFile(std::string_view contents) : path_(::testing::TempDir() + "korvoXXXXXX") {
    const int fd = ::mkstemp(path_.data());
    EXPECT_GE(fd, 0);
    ::close(fd);
    std::ofstream file(path_, std::ios::binary);
    file << contents;
  }
  ~TemporaryFile() { std::remove(path_.c_str()); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

/** The message with which `load(path)` refuses a document, "FILE" standing for its path. */
template <class Load>
std::string refusalOfFile(const std::string& path, Load&& load) {
  try {
    load(path);
  } catch (const DocumentError& error) {
    std::string message = error.what();
    if (const auto at = message.find(path); at != std::string::npos) {
      message.replace(at, path.size(), "FILE");
    }
    return message;
  }
  return "not refused";
}

template <class Load>
std::string refusal(std::string_view contents, Load&& load) {
  const TemporaryFile file(contents);
  return refusalOfFile(file.path(), load);
}

}  // namespace KorvoAgent::Testing

// An agent that says what a test tells it to, on a real Unix socket in a folder of its own.
//
// Each connection, in the order in which they come, is given to the next script, which runs on the
// fake's own thread. The test's thread meanwhile runs the client. A fake that goes away stops
// listening and waits for the script that is running.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "client/Descriptor.h"

namespace KorvoCtl {

// A folder that is removed, with what is in it, when this goes.
class TempDir {
 public:
  TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  ~TempDir();
  [[nodiscard]] std::string file(std::string_view name) const;

 private:
  std::string path_;
};

class FakeAgent {
 public:
  // One client, as the agent sees it.
  class Peer {
   public:
    explicit Peer(Descriptor control) : control_(std::move(control)) {}

    // Reads the request line, with the descriptor that travels with it; without the newline.
    std::string readRequest();
    [[nodiscard]] bool hasAnswerDescriptor() const { return answer_.isOpen(); }
    [[nodiscard]] int descriptorsReceived() const { return descriptorsReceived_; }
    [[nodiscard]] int answerDescriptor() const { return answer_.get(); }

    // Writes to the answer; false when the client has gone.
    bool answer(std::string_view data);
    // Says something on the control connection, as it is.
    bool say(std::string_view data);
    // The usual events.
    bool accept() { return say("{\"event\":\"accepted\",\"id\":1}\n"); }
    bool progress(std::size_t rows, std::size_t bytes);
    bool done(std::string_view status, std::size_t bytes, std::string_view message = "");

    void closeAnswer() { answer_.close(); }
    void closeControl() { control_.close(); }
    // Waits until the client has read all that was said.
    void waitUntilHeard();
    // Waits until the client has closed its side of everything.
    void waitUntilClientIsGone();

   private:
    Descriptor control_;
    Descriptor answer_;
    int descriptorsReceived_ = 0;
  };

  // Called with the request line, which has been read already.
  using Script = std::function<void(Peer&, const std::string& request)>;

  // Answers one connection per script and then no more.
  explicit FakeAgent(std::vector<Script> scripts);
  explicit FakeAgent(Script script) : FakeAgent(std::vector<Script>{std::move(script)}) {}
  FakeAgent(const FakeAgent&) = delete;
  FakeAgent& operator=(const FakeAgent&) = delete;
  ~FakeAgent();

  [[nodiscard]] const std::string& path() const { return path_; }
  // Takes no more connections and waits for the script that is running; the requests that came.
  const std::vector<std::string>& requests();

  // A script that accepts, answers with the text, and ends with the status.
  static Script answers(const std::string& text, const std::string& status = "ok",
                        const std::string& message = "");

 private:
  void serve();
  void end();

  TempDir dir_;
  std::string path_;
  std::vector<Script> scripts_;
  Descriptor listener_;
  std::vector<std::string> requests_;
  std::thread thread_;
};

}  // namespace KorvoCtl

#include "tests/documents/DocumentHarness.h"

#include <sys/socket.h>

#include <algorithm>
#include <utility>

#include "tests/mocks/CommandSocket.h"

namespace KorvoL2::Testing {

namespace {

/** A socket that is read whenever it is full. */
class ReadSocket final : public Rendering::OutputPort {
 public:
  explicit ReadSocket(CommandSocket& socket) : socket_(socket), port_(socket.descriptor()) {}
  std::ptrdiff_t send(const char* data, std::size_t size) override {
    // All of it: a socket that took a part would end the slice.
    std::size_t sent = 0;
    while (sent < size) {
      const std::ptrdiff_t n = port_.send(data + sent, size - sent);
      if (n < 0) return n;
      if (n == 0) socket_.text();
      sent += static_cast<std::size_t>(n);
    }
    return static_cast<std::ptrdiff_t>(sent);
  }

 private:
  CommandSocket& socket_;
  Rendering::SocketPort port_;
};

/** Sends everything, reading in between. */
std::string textOf(CommandSocket& socket, Rendering::PrintBuffer& buffer) {
  while (!buffer.flush() && !buffer.failed()) socket.text();
  return socket.text();
}

}  // namespace

Qel::Duration RowClock::now() const {
  if (spentAfter_.empty()) return Qel::Duration::zero();
  const std::uint64_t rows = machine_ == nullptr ? 0 : machine_->rows();
  const auto spent =
      static_cast<std::size_t>(std::ranges::upper_bound(spentAfter_, rows) - spentAfter_.begin());
  // Seen once: who asks again finds that no time has passed.
  if (seen_ == Seen::once && std::exchange(told_, spent) == spent) return Qel::Duration::zero();
  return (kSliceTime + Qel::Duration(1)) * spent;
}

Outcome DocumentHarness::run(Dump& dump, const DumpKind& kind, const Conditions& conditions) {
  CommandSocket socket;
  const Request request = requestOn(std::make_unique<ReadSocket>(socket), kind.format, 65536);
  Outcome outcome = drive(dump, request, conditions, [] {});
  outcome.text = textOf(socket, request->renderer().buffer());
  return outcome;
}

Outcome DocumentHarness::runBlocked(Dump& dump, const DumpKind& kind, const Conditions& conditions,
                                    std::size_t first, std::size_t later) {
  const Request request = RequestHarness::request(kind.format, 1);
  reader->appetite = first;
  Outcome outcome = drive(dump, request, conditions, [&] { reader->appetite = later; });
  reader->appetite = std::numeric_limits<std::size_t>::max();
  request->renderer().buffer().flush();
  outcome.text = reader->received;
  return outcome;
}

Outcome DocumentHarness::runOnSmallSocket(Dump& dump, const DumpKind& kind, std::size_t filler) {
  CommandSocket socket;
  const int smallest = 1;
  EXPECT_EQ(::setsockopt(static_cast<int>(socket.descriptor()), SOL_SOCKET, SO_SNDBUF, &smallest,
                         sizeof(smallest)),
            0);
  // Each byte takes as much of the socket as a row does.
  Rendering::SocketPort port(socket.descriptor());
  std::size_t filled = 0;
  while (filled < filler && port.send("#", 1) == 1) ++filled;

  const Request request =
      requestOn(std::make_unique<Rendering::SocketPort>(socket.descriptor()), kind.format, 1);
  Outcome outcome = drive(dump, request, {}, [&] { socket.text(); });
  outcome.text = textOf(socket, request->renderer().buffer()).substr(filled);
  return outcome;
}

Outcome DocumentHarness::drive(Dump& dump, const Request& request, const Conditions& conditions,
                               const std::function<void()>& betweenSlices) {
  const auto rowClock = Qel::makePtr<RowClock>(conditions.spentAfter, conditions.seen);
  const Machine machine = dump.machine(request, rowClock);
  rowClock->machineIs(machine.get());
  AgentCommand::SlicePolicy policy{.outputWindow = conditions.window,
                                   .rowBudget = conditions.rowBudget};
  if (conditions.rowBudget != 0) policy.silentBudget = conditions.rowBudget;
  machine->slicePolicyIs(policy);
  traces->clear();

  Outcome outcome;
  outcome.sliceStarts.push_back(0);
  runToCompletion(*machine, [&] {
    outcome.sliceStarts.push_back(machine->rows());
    outcome.blocked.push_back(request->renderer().buffer().blocked());
    betweenSlices();
  });
  outcome.sliceStarts.pop_back();
  outcome.questions = machine->rows();
  outcome.yields = traces->count("Yielding Cpu");
  rowClock->machineIs(nullptr);
  return outcome;
}

::testing::AssertionResult isText(const std::string& actual, const std::string& expected) {
  if (actual == expected) return ::testing::AssertionSuccess();
  const auto at =
      static_cast<std::size_t>(std::ranges::mismatch(actual, expected).in1 - actual.begin());
  const std::size_t from = at < 200 ? 0 : at - 200;
  return ::testing::AssertionFailure() << "differs at byte " << at << " of " << actual.size()
                                       << " (" << expected.size() << " expected)\nprinted:\n"
                                       << actual.substr(from, 400) << "\nexpected:\n"
                                       << expected.substr(from, 400);
}

Slices::Slices(const Document& document, std::size_t window, std::size_t rowBudget) {
  std::size_t rows = 0;
  for (std::size_t row = 0; row < document.pieces.size(); ++row) {
    open_ += document.pieces[row].size();
    ++rows;
    endsFull_ = open_ >= window || (rowBudget != 0 && rows >= rowBudget);
    if (!endsFull_) continue;
    ++full_;
    open_ = rows = 0;
    if (row + 1 < document.pieces.size()) starts_.push_back(row + 1);
  }
}

}  // namespace KorvoL2::Testing

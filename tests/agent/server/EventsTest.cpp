#include <gtest/gtest.h>

#include <string>

#include "agent/server/Events.h"

namespace KorvoAgent {
namespace {

using std::chrono::microseconds;

TEST(EventsTest, EventsAreOneJsonObjectALine) {
  EXPECT_EQ(acceptedEvent(7), "{\"event\":\"accepted\",\"id\":7}\n");
  RequestFigures figures;
  figures.rows = 1000;
  figures.bytes = 80'000;
  figures.slices = 3;
  figures.worstSlice = microseconds(1250);
  figures.elapsed = microseconds(31'007);
  EXPECT_EQ(progressEvent(figures),
            "{\"event\":\"progress\",\"rows\":1000,\"bytes\":80000,\"slices\":3}\n");
  EXPECT_EQ(doneEvent({RequestStatus::ok, ""}, figures),
            "{\"event\":\"done\",\"status\":\"ok\",\"message\":\"\",\"rows\":1000,\"bytes\":80000,"
            "\"slices\":3,\"worstSliceMs\":1.250,\"elapsedMs\":31.007}\n");
}

TEST(EventsTest, StatusesAreSpelledAsClientsKnowThem) {
  EXPECT_EQ(statusName(RequestStatus::ok), "ok");
  EXPECT_EQ(statusName(RequestStatus::refused), "refused");
  EXPECT_EQ(statusName(RequestStatus::noHandler), "no-handler");
  EXPECT_EQ(statusName(RequestStatus::notReady), "not-ready");
  EXPECT_EQ(statusName(RequestStatus::error), "error");
  EXPECT_EQ(statusName(RequestStatus::cancelled), "cancelled");
  EXPECT_EQ(statusName(RequestStatus::clientGone), "client-gone");
}

TEST(EventsTest, AMessageOfAnyBytesStaysOneLineOfJson) {
  const std::string event = doneEvent({RequestStatus::error, "a\"b\n\xff"}, {});
  EXPECT_NE(event.find("\"message\":\"a\\\"b\\n\xef\xbf\xbd\""), std::string::npos) << event;
  EXPECT_EQ(event.find('\n'), event.size() - 1);
}

TEST(EventsTest, AMessageIsNotEndless) {
  EXPECT_LT(doneEvent({RequestStatus::error, std::string(1'000'000, 'x')}, {}).size(), 5000U);
}

}  // namespace
}  // namespace KorvoAgent

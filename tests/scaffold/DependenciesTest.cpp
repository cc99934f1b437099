// What the rest of the tree takes for granted about the libraries it is built with.

#include <absl/container/btree_map.h>
#include <absl/hash/hash.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <simdjson.h>

#include <boost/intrusive_ptr.hpp>
#include <cstdint>
#include <string>
#include <string_view>

// asio last: it pulls in the system's socket headers and their macros.
#include <asio.hpp>

namespace {

TEST(DependenciesTest, FmtIsVersion10) {
  EXPECT_GE(FMT_VERSION, 100000);
  EXPECT_LT(FMT_VERSION, 110000);
}

TEST(DependenciesTest, FmtFormatsFromTheHeadersAlone) {
  EXPECT_EQ(fmt::format("Executing handler {}", "MACT_ALL"), "Executing handler MACT_ALL");
  EXPECT_THROW(static_cast<void>(fmt::format(fmt::runtime("{} {}"), 1)), fmt::format_error);
}

TEST(DependenciesTest, BtreeFindsTheFollowingKeyAfterOneIsGone) {
  absl::btree_map<std::uint64_t, std::string> map;
  for (std::uint64_t key = 0; key < 1000; ++key) {
    map.emplace(key * 10, std::to_string(key));
  }
  map.erase(500);
  const auto next = map.lower_bound(500);
  ASSERT_NE(next, map.end());
  EXPECT_EQ(next->first, 510U);
}

// Abseil's library part is packaged for an older language level than this tree's; hashing is where
// the headers call into it. Its string_view may be a type of its own there, so std::string and
// std::string_view of equal text need not hash alike.
TEST(DependenciesTest, AbseilHashesEqualTextAlike) {
  const std::string longText(200, 'x');
  EXPECT_EQ(absl::HashOf(longText), absl::HashOf(std::string(200, 'x')));
  EXPECT_NE(absl::HashOf(longText), absl::HashOf(std::string(199, 'x')));
}

TEST(DependenciesTest, SimdjsonReadsWhatRapidJsonWrites) {
  rapidjson::StringBuffer text;
  rapidjson::Writer<rapidjson::StringBuffer> writer(text);
  writer.StartObject();
  writer.Key("name");
  writer.String("a \"quoted\" \\ name\n");
  writer.EndObject();

  simdjson::dom::parser parser;
  const std::string written(text.GetString(), text.GetSize());
  const simdjson::dom::element document = parser.parse(written);
  EXPECT_EQ(std::string_view(document["name"]), "a \"quoted\" \\ name\n");
}

TEST(DependenciesTest, AsioRunsPostedWorkInOrder) {
  asio::io_context loop;
  std::string order;
  asio::post(loop, [&order] { order += 'a'; });
  asio::post(loop, [&order] { order += 'b'; });
  EXPECT_EQ(loop.run(), 2U);
  EXPECT_EQ(order, "ab");
}

TEST(DependenciesTest, RapidCheckReportsAFailingProperty) {
  EXPECT_TRUE(rc::check("a byte is below 256", [](std::uint8_t value) { RC_ASSERT(value < 256); }));
  EXPECT_FALSE(
      rc::check("a byte is above 255", [](std::uint8_t value) { RC_ASSERT(value > 255); }));
}

}  // namespace

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <future>
#include <limits>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "ovimux/log.hpp"
#include "ovimux/ovimux.hpp"
#include "tf_messages.hpp"

namespace norvik::ovimux::tf2_ovimux {
namespace {

using std::chrono::steady_clock;

// Warnings of the middleware's log while it lives.
class WarningCapture {
 public:
  WarningCapture() {
    texts().clear();
    Logger::getInstance().set_sink([](int level, const char*, const char*, int, const std::string& text) {
      if (level == kWarning) {
        texts().push_back(text);
      }
    });
  }
  ~WarningCapture() { Logger::getInstance().set_sink(nullptr); }
  static std::vector<std::string>& texts() {
    static std::vector<std::string> texts;
    return texts;
  }
};

TEST(BufferInputTest, RefusesWhatCannotBeATransformAndWarnsOncePerReason) {
  const double nan = std::nan("");
  const double inf = std::numeric_limits<double>::infinity();
  const auto with_w = [](double w) { return make_transform("p", "c", 1, {0, 0, 0}, {w, 0, 0, 0}); };
  const auto with_stamp = [](int64_t sec, uint32_t nanosec) {
    auto message = make_transform("p", "stamped" + std::to_string(sec), 0);
    message.mutable_header()->mutable_timestamp()->set_sec(sec);
    message.mutable_header()->mutable_timestamp()->set_nanosec(nanosec);
    return message;
  };
  const struct {
    const char* name;
    spatial_proto::TransformMsg message;
    const char* warning;  // nullptr: taken.
  } rows[] = {
      {"no parent", make_transform("", "c", 1), "a frame id is empty"},
      {"child is a slash", make_transform("p", "/", 1), "a frame id is empty"},
      {"self", make_transform("/c", "c", 1), "parent and child are the same frame"},
      {"long name", make_transform("p", std::string(256, 'x'), 1), "a frame id is longer than 255 bytes"},
      {"longest name", make_transform("p", std::string(255, 'x'), 1), nullptr},
      {"nan", make_transform("p", "c", 1, {0, nan, 0}), "a number is not finite"},
      {"infinity", make_transform("p", "c", 1, {0, 0, -inf}), "a number is not finite"},
      {"nan rotation", with_w(nan), "a number is not finite"},
      {"no rotation", with_w(0), "the quaternion is not normalised"},
      {"norm too small", with_w(std::sqrt(0.9899)), "the quaternion is not normalised"},
      {"norm too large", with_w(std::sqrt(1.0101)), "the quaternion is not normalised"},
      {"norm just small enough", with_w(std::sqrt(1.0099)), nullptr},
      {"negative stamp", with_stamp(-1, 0), "the stamp is negative or too large"},
      {"stamp beyond 64 bits", with_stamp(9223372037, 0), "the stamp is negative or too large"},
      {"largest seconds", with_stamp(9223372032, UINT32_MAX), nullptr},
      {"same stamp again", with_w(1), "the frame has a sample with this stamp"},
  };
  const WarningCapture capture;
  const auto buffer = make_buffer();
  std::set<std::string> seen;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    capture.texts().clear();
    EXPECT_EQ(buffer->setTransform(row.message, false), row.warning == nullptr);
    const bool is_first = row.warning != nullptr && seen.insert(row.warning).second;
    ASSERT_EQ(capture.texts().size(), is_first ? 1U : 0U);
    if (is_first) {
      EXPECT_NE(capture.texts()[0].find(row.warning), std::string::npos) << capture.texts()[0];
    }
  }
  const spatial_proto::TransformMsg stored = buffer->lookupTransform("p", "c", at(1));
  EXPECT_DOUBLE_EQ(stored.transform().rotation().w(), 1.0) << "an almost normalised quaternion is stored normalised";
}

TEST(BufferInputTest, SlashesAreDroppedWhenStoringAndRefusedWhenAsking) {
  const auto buffer = make_buffer();
  ASSERT_TRUE(buffer->setTransform(make_transform("/p", "//c", 1), false));
  EXPECT_EQ(buffer->getAllFrameNames(), (std::vector<std::string>{"/c", "p"}));
  ASSERT_TRUE(buffer->setTransform(make_transform("/p", "/c", 1), false));
  EXPECT_TRUE(buffer->canTransform("p", "c", at(1)));
  for (const char* target : {"/p", "", "unknown"}) {
    EXPECT_FALSE(buffer->canTransform(target, "c", at(1))) << target;
    EXPECT_TRUE(buffer->canTransform(target, target, at(1))) << target;
  }
}

TEST(BufferInputTest, NamesAreBoundedAndKnownFramesStillUpdate) {
  const WarningCapture capture;
  const auto buffer = make_buffer();
  for (int i = 1; i < 9999; ++i) {
    ASSERT_TRUE(buffer->setTransform(make_transform("root", "f" + std::to_string(i), 1), i % 2 == 0));
  }
  EXPECT_FALSE(buffer->setTransform(make_transform("new_parent", "new_child", 1), false)) << "room for one name only";
  EXPECT_TRUE(buffer->setTransform(make_transform("root", "last", 1), false));
  EXPECT_FALSE(buffer->setTransform(make_transform("root", "one_too_many", 1), false));
  EXPECT_TRUE(buffer->setTransform(make_transform("root", "f1", 2), false));
  EXPECT_EQ(buffer->getAllFrameNames().size(), 10000U);
  EXPECT_EQ(capture.texts().size(), 1U);
}

TEST(BufferInputTest, SamplesOfOneFrameAreBoundedOldestFirst) {
  const auto buffer = make_buffer();
  for (int64_t stamp = 1; stamp <= 100001; ++stamp) {
    ASSERT_TRUE(buffer->setTransform(make_transform("p", "c", stamp), false));
  }
  EXPECT_FALSE(buffer->canTransform("p", "c", at(1)));
  EXPECT_TRUE(buffer->canTransform("p", "c", at(2)));
}

TEST(BufferQueryTest, LoopsAndDepthEndTheSearch) {
  const auto buffer = make_buffer();
  buffer->setTransform(make_transform("a", "b", 1), false);
  buffer->setTransform(make_transform("b", "a", 1), false);
  buffer->setTransform(make_transform("z", "y", 1), false);
  for (int i = 0; i < 1001; ++i) {
    buffer->setTransform(make_transform("d" + std::to_string(i), "d" + std::to_string(i + 1), 0), true);
  }
  for (const int64_t stamp : {0, 1}) {
    EXPECT_TRUE(buffer->canTransform("a", "b", at(stamp)));
    EXPECT_FALSE(buffer->canTransform("a", "y", at(stamp)));
    EXPECT_FALSE(buffer->canTransform("y", "a", at(stamp)));
    EXPECT_EQ(buffer->lookupTransform("d0", "d1000", at(stamp)).transform().translation().x(), 1000.0);
    EXPECT_FALSE(buffer->canTransform("d0", "d1001", at(stamp)));
    EXPECT_FALSE(buffer->canTransform("d1001", "d0", at(stamp)));
  }
}

TEST(BufferQueryTest, ExtrapolationNamesTheFrameAndItsSpan) {
  const auto buffer = make_buffer();
  buffer->setTransform(make_transform("map", "base", 100), false);
  buffer->setTransform(make_transform("map", "base", 200), false);
  buffer->setTransform(make_transform("base", "tool", 0), true);
  try {
    buffer->lookupTransform("map", "tool", at(201));
    FAIL() << "extrapolated";
  } catch (const std::exception& e) {
    EXPECT_STREQ(e.what(),
                 "no transform from tool to map at 201 ns: it would need extrapolation, frame base has data from 100 "
                 "to 200 ns");
  }
}

TEST(BufferWaitTest, DataEndsTheWait) {
  const auto buffer = make_buffer();
  buffer->setTransform(make_transform("map", "base", 100), false);
  const auto begin = steady_clock::now();
  std::atomic<int> started{0};
  const auto wait = [&](int64_t stamp) {
    return std::async(std::launch::async, [&, stamp] {
      ++started;
      return buffer->lookupTransform("map", "tool", at(stamp), milliseconds(20000)).transform().translation().x();
    });
  };
  auto latest = wait(0);
  auto between = wait(150);
  while (started < 2) {
    std::this_thread::yield();
  }
  buffer->setTransform(make_transform("base", "tool", 0), true);
  EXPECT_EQ(latest.get(), 2.0);
  EXPECT_EQ(between.wait_for(std::chrono::milliseconds(120)), std::future_status::timeout) << "150 is not known yet";
  buffer->setTransform(make_transform("map", "base", 200, {3, 0, 0}), false);
  EXPECT_EQ(between.get(), 3.0);
  EXPECT_LT(seconds_since(begin), 5.0);
}

TEST(BufferWaitTest, TimeoutIsHonoured) {
  const auto buffer = make_buffer();
  const struct {
    bool has_feeder;
    int64_t timeout_ms;
    double at_least_s;
    double at_most_s;
  } rows[] = {{true, 130, 0.130, 0.6}, {true, 0, 0, 0.1}, {true, -5000, 0, 0.1}, {false, 5000, 0, 0.1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.timeout_ms);
    buffer->setUsingDedicatedThread(row.has_feeder);
    const auto begin = steady_clock::now();
    EXPECT_FALSE(buffer->canTransform("a", "b", at(0), milliseconds(row.timeout_ms)));
    const double took = seconds_since(begin);
    EXPECT_GE(took, row.at_least_s);
    EXPECT_LT(took, row.at_most_s);
  }
}

// Shutdown cannot be undone, so this runs in a process of its own. The time-out is the largest there is.
TEST(BufferWaitDeathTest, ShutdownEndsTheWait) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto shut_down_while_waiting = [] {
    const auto buffer = make_buffer();
    buffer->setTransform(make_transform("known", "child", 1), false);
    auto answer = std::async(std::launch::async, [&] {
      return buffer->canTransform("a", "b", at(0), basic_interface::Duration(std::numeric_limits<int64_t>::max()));
    });
    const bool waited = answer.wait_for(std::chrono::milliseconds(120)) == std::future_status::timeout;
    AsyncShutdown();
    WaitForShutdown();
    const bool woke = answer.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
    const bool still_answers = buffer->canTransform("known", "child", at(0), milliseconds(1000));
    std::_Exit(waited && woke && !answer.get() && still_answers ? 0 : 1);
  };
  EXPECT_EXIT(shut_down_while_waiting(), ::testing::ExitedWithCode(0), "");
}

// Readers that never pause must not keep a writer out: 500 writes take some milliseconds, not seconds each.
TEST(BufferConcurrencyTest, BusyReadersDoNotStarveAWriter) {
  const auto buffer = make_buffer();
  std::atomic<bool> stop{false};
  std::vector<std::thread> readers;
  for (int i = 0; i < 4; ++i) {
    readers.emplace_back([&] {
      while (!stop) {
        buffer->canTransform("map", "base", at(0));
      }
    });
  }
  double slowest_s = 0;
  for (int i = 1; i <= 500; ++i) {
    const auto begin = steady_clock::now();
    EXPECT_TRUE(buffer->setTransform(make_transform("map", "base", i * 1000000LL), false));
    slowest_s = std::max(slowest_s, seconds_since(begin));
  }
  stop = true;
  for (std::thread& reader : readers) {
    reader.join();
  }
  EXPECT_LT(slowest_s, 1.0);
}

// Two frames move together, so that their relation is constant. A reader that sees half an update sees something else.
TEST(BufferConcurrencyTest, ReadersSeeWholeSamplesWhileWritersWrite) {
  constexpr int kWrites = 4000;
  const auto buffer = make_buffer();
  std::atomic<int> writers{2};
  const auto write = [&](const std::string& child, double offset) {
    for (int i = 1; i <= kWrites; ++i) {
      const double x = i * 1e-3;
      EXPECT_TRUE(buffer->setTransform(make_transform("map", child, i * 1000000LL, {x + offset, x, 0}), false));
    }
    --writers;
  };
  std::atomic<int> answers{0};
  const auto read = [&] {
    for (bool is_last = false; !is_last;) {
      is_last = writers == 0;
      if (buffer->canTransform("left", "right", at(0), milliseconds(1))) {
        const auto relation = buffer->lookupTransform("left", "right", at(0));
        const auto& t = relation.transform().translation();
        EXPECT_NEAR(t.x(), 5.0, 1e-9);
        EXPECT_NEAR(t.y(), 0.0, 1e-9);
        ++answers;
      }
      EXPECT_LE(buffer->getAllFrameNames().size(), 3U);
    }
  };
  std::vector<std::thread> threads;
  threads.emplace_back(write, "left", 0.0);
  threads.emplace_back(write, "right", 5.0);
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back(read);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_GE(answers, 3) << "each reader has an answer once the writers are done";
}

struct Step {
  const char* name;
  std::vector<int64_t> stamps_ms;  // After ten seconds of samples every 100 ms, up to 100000 ms.
  int64_t newest_ms;
};

class BufferClockStepTest : public ::testing::TestWithParam<Step> {};

TEST_P(BufferClockStepTest, IsToldFromLateSamples) {
  const auto buffer = make_buffer();
  const auto store = [&](int64_t ms) { buffer->setTransform(make_transform("p", "c", ms * 1000000), false); };
  for (int64_t ms = 90000; ms <= 100000; ms += 100) {
    store(ms);
  }
  for (const int64_t ms : GetParam().stamps_ms) {
    store(ms);
  }
  const auto newest = buffer->lookupTransform("p", "c", at(0), milliseconds(0)).header().timestamp();
  EXPECT_EQ(newest.sec() * 1000 + newest.nanosec() / 1000000, GetParam().newest_ms);
}

std::vector<int64_t> every_100_ms(int64_t from, int count) {
  std::vector<int64_t> stamps;
  for (int i = 0; i < count; ++i) {
    stamps.push_back(from + i * 100);
  }
  return stamps;
}

std::vector<int64_t> alternating(int64_t one, int64_t other, int count) {
  std::vector<int64_t> stamps;
  for (int i = 0; i < count; ++i) {
    stamps.push_back((i % 2 == 0 ? one : other) + i * 10);
  }
  return stamps;
}

INSTANTIATE_TEST_SUITE_P(, BufferClockStepTest,
                         ::testing::Values(Step{"Hour", every_100_ms(100000 - 90000, 12), 11100},
                                           Step{"WithinTheCache", every_100_ms(95050, 10), 95950},
                                           Step{"TooFewToTell", every_100_ms(10000, 9), 100000},
                                           Step{"LessThanASecond", every_100_ms(99050, 10), 100000},
                                           Step{"BurstOutOfOrder",
                                                {98950, 98850, 98750, 98650, 98550, 98450, 98350, 98250, 98150, 98050,
                                                 97950, 97850},
                                                100000},
                                           Step{"SlowSecondSender", alternating(97000, 100000, 40), 100390},
                                           Step{"Forwards", every_100_ms(500000, 3), 500200}),
                         [](const auto& step) { return step.param.name; });

}  // namespace
}  // namespace norvik::ovimux::tf2_ovimux

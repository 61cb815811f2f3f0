#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <thread>

#include "ovimux/msg_queue/msg_queue.hpp"
#include "support/log_capture.hpp"

namespace norvik::ovimux {

// Moves the counters of a queue to where only 2^32 writes would bring them.
struct MsgQueueTestAccess {
  template <typename T>
  static void set_indices(MsgQueue<T>& queue, uint32_t write_index, uint32_t read_index) {
    queue.control_->write_index = write_index;
    queue.control_->read_index = read_index;
  }
};

namespace {

using test::LogCapture;

std::vector<int> drain(MsgQueue<int>& queue) {
  std::vector<int> result;
  std::shared_ptr<int> entry;
  while (queue.read(entry) == 0) {
    result.push_back(entry ? *entry : -1);
  }
  return result;
}

void write_numbers(MsgQueue<int>& queue, int first, int count) {
  for (int i = first; i < first + count; ++i) {
    EXPECT_EQ(0, queue.write(std::make_shared<int>(i)));
  }
}

TEST(MsgQueue, KeepsTheNewestEntriesAndLogsEachOverwrite) {
  const struct {
    unsigned depth;
    int written;
    std::vector<int> kept;
    int overwritten;
  } cases[] = {{1, 1, {0}, 0}, {1, 3, {2}, 2}, {3, 3, {0, 1, 2}, 0}, {3, 5, {2, 3, 4}, 2}};
  for (const auto& c : cases) {
    SCOPED_TRACE("depth " + std::to_string(c.depth) + ", written " + std::to_string(c.written));
    const LogCapture log;
    MsgQueue<int> queue("numbers");
    ASSERT_TRUE(queue.create(c.depth, true));
    write_numbers(queue, 0, c.written);
    EXPECT_EQ(c.overwritten, log.count(kError, "msg_queue_write full, queue name: [numbers], msg type: i"));
    EXPECT_EQ(c.kept, drain(queue));
    std::shared_ptr<int> entry;
    EXPECT_EQ(-2, queue.read(entry));
  }
}

TEST(MsgQueue, RefusesBadParameters) {
  const LogCapture log;
  MsgQueue<int> queue("bad");
  std::shared_ptr<int> entry;
  EXPECT_FALSE(queue.create(0, true));
  EXPECT_EQ(-1, queue.write(nullptr));  // An empty entry is told before a queue that is not there.
  EXPECT_EQ(-1, queue.write(std::make_shared<int>(1)));
  EXPECT_EQ(-1, queue.read(entry));
  const std::vector<std::string> expected = {"msg_queue_create param error", "msg_queue_write error param, data empty",
                                             "msg_queue_write error param, queue empty", "msg_queue_read error param"};
  EXPECT_EQ(expected, log.texts(kError));
}

TEST(MsgQueue, GoesOnWhenItsCountersWrap) {
  constexpr uint32_t kLast = std::numeric_limits<uint32_t>::max();
  const LogCapture log;
  MsgQueue<int> queue("wrap");
  ASSERT_TRUE(queue.create(4, false));
  MsgQueueTestAccess::set_indices(queue, kLast - 1, kLast - 1);
  write_numbers(queue, 0, 6);
  EXPECT_EQ(2, log.count(kError, "msg_queue_write full, queue name: [wrap]"));
  EXPECT_EQ((std::vector<int>{2, 3, 4, 5}), drain(queue));
}

TEST(MsgQueue, RepairsAFillAboveItsDepth) {
  const LogCapture log;
  MsgQueue<int> queue("damaged");
  ASSERT_TRUE(queue.create(2, true));
  write_numbers(queue, 0, 2);
  MsgQueueTestAccess::set_indices(queue, 12, 2);
  write_numbers(queue, 2, 1);
  EXPECT_TRUE(log.has(kError, "msg_queue_write fulled, queue name: [damaged], msg type: i"));
  // The fill is cut to the depth before the new entry takes the oldest slot, which a reader then finds empty once.
  EXPECT_EQ((std::vector<int>{2, 1, -1}), drain(queue));
}

TEST(MsgQueue, LosesNothingBetweenManyWritersAndReaders) {
  constexpr int kPerWriter = 20000;
  MsgQueue<int> queue("busy");
  ASSERT_TRUE(queue.create(4 * kPerWriter, true));
  std::atomic<long> sum{0};
  std::atomic<int> read{0};
  std::vector<std::thread> threads;
  for (int w = 0; w < 2; ++w) {
    threads.emplace_back([&] { write_numbers(queue, 1, kPerWriter); });
    threads.emplace_back([&] {
      std::shared_ptr<int> entry;
      while (read.load() < 2 * kPerWriter) {
        if (queue.read(entry) == 0) {
          sum += *entry;
          ++read;
        }
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(2L * kPerWriter * (kPerWriter + 1) / 2, sum.load());
}

}  // namespace
}  // namespace norvik::ovimux

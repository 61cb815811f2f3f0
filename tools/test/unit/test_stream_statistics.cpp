// Counting samples and measuring their rate.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "dds/sample_inbox.hpp"
#include "dds/stream_statistics.hpp"

namespace norvik::tools {
namespace {

constexpr int64_t kMs = 1000000;

SampleHeader sample(uint32_t seq, int64_t arrival_ms = 0, Sender sender = {}) {
  SampleHeader header;
  header.sender = sender;
  header.seq = seq;
  header.size = 100;
  header.arrival_ns = arrival_ms * kMs;
  header.stamp_ns = kMs;
  header.received_ns = 6 * kMs;
  return header;
}

TEST(SenderCount, gaps_of_the_running_index_are_losses) {
  struct Case {
    const char* name;
    std::vector<uint32_t> seqs;
    uint64_t lost;
    uint64_t unexpected;
  };
  const Case cases[] = {
      {"joined late", {700, 701, 702}, 0, 0},
      {"two gaps", {1, 2, 5, 6, 8}, 3, 0},
      {"repeated", {1, 1, 2}, 0, 1},
      {"late", {1, 4, 2, 5}, 2, 1},
      {"wraps round", {0xFFFFFFFEU, 0xFFFFFFFFU, 0, 1}, 0, 0},
      {"gap across the wrap", {0xFFFFFFFEU, 1}, 2, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    SenderCount count;
    for (const uint32_t seq : c.seqs) {
      count.add(sample(seq));
    }
    EXPECT_EQ(count.lost, c.lost);
    EXPECT_EQ(count.unexpected, c.unexpected);
    EXPECT_EQ(count.received, c.seqs.size());
  }
}

TEST(StreamStatistics, a_sender_that_does_not_tell_the_time_has_no_latency) {
  SampleHeader header = sample(1);
  header.stamp_ns = 0;
  StreamStatistics statistics(1.0);
  statistics.add(header);
  EXPECT_FALSE(statistics.senders().begin()->second.has_latency());
  EXPECT_EQ(to_text(statistics.report(0)), "1 sample, 100 B | sent 1, received 1, lost 0");
  EXPECT_TRUE(to_json(statistics.report(0))["mean_latency_s"].is_null());
}

TEST(StreamStatistics, each_sender_has_an_index_of_its_own) {
  const Sender one{{}, 1, 1};
  const Sender other{{7}, 1, 1};
  StreamStatistics statistics(1.0);
  statistics.add(sample(10, 0, one));
  statistics.add(sample(500, 1, other));
  statistics.add(sample(11, 2, one));
  statistics.add(sample(502, 3, other));
  const StreamReport report = statistics.report(3 * kMs);
  EXPECT_EQ(report.senders, 2U);
  EXPECT_EQ(report.received, 4U);
  EXPECT_EQ(report.lost, 1U);
}

TEST(StreamStatistics, rate_period_and_silence) {
  struct Case {
    const char* name;
    std::vector<int64_t> arrivals_ms;
    int64_t now_ms;
    size_t samples;
    double hertz;
    double jitter_s;
    double silence_s;
  };
  const Case cases[] = {
      {"nothing yet", {}, 1000, 0, 0.0, 0.0, -1.0},
      {"one sample has no rate", {100}, 150, 1, 0.0, 0.0, 0.05},
      {"steady", {0, 10, 20, 30, 40}, 45, 5, 100.0, 0.0, 0.005},
      {"jitter", {0, 5, 20, 25, 40}, 40, 5, 100.0, 0.005, 0.0},
      {"fell silent: the rate sinks", {0, 100, 200, 300}, 900, 4, 3.0 / 0.9, 0.0, 0.6},
      {"left the window", {0, 10, 20}, 1500, 0, 0.0, 0.0, 1.48},
      {"all at once", {7, 7, 7}, 7, 3, 0.0, 0.0, 0.0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    StreamStatistics statistics(1.0);
    uint32_t seq = 0;
    for (const int64_t arrival : c.arrivals_ms) {
      statistics.add(sample(++seq, arrival));
    }
    const StreamReport report = statistics.report(c.now_ms * kMs);
    EXPECT_EQ(report.samples, c.samples);
    EXPECT_NEAR(report.hertz, c.hertz, 1e-9);
    EXPECT_NEAR(report.jitter_s, c.jitter_s, 1e-9);
    EXPECT_NEAR(report.silence_s, c.silence_s, 1e-9);
    EXPECT_NEAR(report.latency_s, c.samples > 0 ? 0.005 : 0.0, 1e-9);
  }
}

TEST(StreamStatistics, malformed_samples_break_no_figure) {
  StreamStatistics statistics(1.0);
  SampleHeader broken = sample(900, 5);
  broken.malformed = true;
  statistics.add(sample(1, 0));
  statistics.add(broken);
  statistics.add(sample(2, 10));
  const StreamReport report = statistics.report(10 * kMs);
  EXPECT_EQ(report.malformed, 1U);
  EXPECT_EQ(report.received, 2U);
  EXPECT_EQ(report.lost, 0U);
}

TEST(SampleInbox, keeps_within_its_bound_but_takes_any_single_sample) {
  SampleInbox inbox(1000);
  Bytes huge(5000);
  Bytes small(10);
  inbox.put(sample(1), huge);
  inbox.put(sample(2), small);
  EXPECT_EQ(inbox.take_skipped(), 1U);
  EXPECT_EQ(inbox.take()->payload.size(), 5000U);
  inbox.put(sample(3), small);
  EXPECT_EQ(inbox.take()->header.seq, 3U);
  EXPECT_FALSE(inbox.take());
}

}  // namespace
}  // namespace norvik::tools

#include "dds/stream_statistics.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include <nlohmann/json.hpp>

namespace norvik::tools {
namespace {

constexpr double kNanosecond = 1e-9;
constexpr uint32_t kHalfRange = 1U << 31U;

double seconds(int64_t ns) { return static_cast<double>(ns) * kNanosecond; }

std::string size_text(double bytes) {
  if (bytes < 1e3) {
    return fmt::format("{:.0f} B", bytes);
  }
  return bytes < 1e6 ? fmt::format("{:.1f} KB", bytes / 1e3) : fmt::format("{:.2f} MB", bytes / 1e6);
}

std::string milliseconds(double value_s) { return fmt::format("{:.2f} ms", value_s * 1e3); }

}  // namespace

void SenderCount::add(const SampleHeader& sample) {
  const uint32_t step = sample.seq - last_seq;
  if (received > 0 && (step == 0 || step >= kHalfRange)) {
    ++unexpected;
  } else {
    lost += received > 0 ? step - 1 : 0;
    last_seq = sample.seq;
  }
  ++received;
  if (sample.has_stamp()) {
    least_latency_ns = std::min(least_latency_ns, sample.latency_ns());
  }
}

StreamStatistics::StreamStatistics(double window_s) : window_ns_(static_cast<int64_t>(window_s / kNanosecond)) {}

void StreamStatistics::add(const SampleHeader& sample) {
  last_arrival_ns_ = sample.arrival_ns;
  if (sample.malformed) {
    ++malformed_;
    return;
  }
  senders_[sample.sender].add(sample);
  window_.push_back(sample);
  forget_before(sample.arrival_ns - window_ns_);
}

void StreamStatistics::forget_before(int64_t arrival_ns) {
  while (!window_.empty() && window_.front().arrival_ns < arrival_ns) {
    window_.pop_front();
  }
}

StreamReport StreamStatistics::report(int64_t now_ns) {
  forget_before(now_ns - window_ns_);
  StreamReport report;
  report.malformed = malformed_;
  report.senders = senders_.size();
  for (const auto& [sender, count] : senders_) {
    report.received += count.received;
    report.lost += count.lost;
    report.unexpected += count.unexpected;
  }
  report.silence_s = last_arrival_ns_ < 0 ? -1.0 : seconds(now_ns - last_arrival_ns_);
  report.samples = window_.size();
  if (!window_.empty()) {
    describe_window(now_ns, report);
  }
  return report;
}

void StreamStatistics::describe_window(int64_t now_ns, StreamReport& report) const {
  double bytes = 0.0;
  for (const SampleHeader& sample : window_) {
    bytes += static_cast<double>(sample.size);
  }
  report.mean_size = bytes / static_cast<double>(window_.size());
  describe_latency(report);
  if (window_.size() > 1) {
    describe_periods(now_ns, report);
  }
}

void StreamStatistics::describe_latency(StreamReport& report) const {
  int64_t sum = 0;
  int64_t least = std::numeric_limits<int64_t>::max();
  int64_t greatest = std::numeric_limits<int64_t>::min();
  for (const SampleHeader& sample : window_) {
    if (sample.has_stamp()) {
      ++report.stamped;
      sum += sample.latency_ns();
      least = std::min(least, sample.latency_ns());
      greatest = std::max(greatest, sample.latency_ns());
    }
  }
  if (report.stamped > 0) {
    report.latency_s = seconds(sum) / static_cast<double>(report.stamped);
    report.least_latency_s = seconds(least);
    report.greatest_latency_s = seconds(greatest);
  }
}

void StreamStatistics::describe_periods(int64_t now_ns, StreamReport& report) const {
  const auto periods = static_cast<double>(window_.size() - 1);
  const double span_s = seconds(window_.back().arrival_ns - window_.front().arrival_ns);
  const double mean_s = span_s / periods;
  double squares = 0.0;
  report.shortest_period_s = std::numeric_limits<double>::max();
  for (size_t i = 1; i < window_.size(); ++i) {
    const double period_s = seconds(window_[i].arrival_ns - window_[i - 1].arrival_ns);
    report.shortest_period_s = std::min(report.shortest_period_s, period_s);
    report.longest_period_s = std::max(report.longest_period_s, period_s);
    squares += (period_s - mean_s) * (period_s - mean_s);
  }
  report.jitter_s = std::sqrt(squares / periods);
  // A stream that fell silent is not given the rate it had before.
  const double silence_s = seconds(now_ns - window_.back().arrival_ns);
  const double measured_s = silence_s > 2.0 * mean_s ? span_s + silence_s : span_s;
  if (measured_s > 0.0) {
    report.hertz = periods / measured_s;
    report.bytes_per_second = report.hertz * report.mean_size;
  }
}

nlohmann::ordered_json to_json(const StreamReport& report) {
  using Json = nlohmann::ordered_json;
  const auto latency = [&report](double value_s) { return report.stamped > 0 ? Json(value_s) : Json(); };
  return {{"samples", report.samples},
          {"rate_hz", report.hertz},
          {"bytes_per_second", report.bytes_per_second},
          {"mean_size", report.mean_size},
          {"shortest_period_s", report.shortest_period_s},
          {"longest_period_s", report.longest_period_s},
          {"jitter_s", report.jitter_s},
          {"mean_latency_s", latency(report.latency_s)},
          {"least_latency_s", latency(report.least_latency_s)},
          {"greatest_latency_s", latency(report.greatest_latency_s)},
          {"silence_s", report.silence_s < 0 ? Json() : Json(report.silence_s)},
          {"sent", report.received + report.lost},
          {"received", report.received},
          {"lost", report.lost},
          {"unexpected", report.unexpected},
          {"malformed", report.malformed},
          {"senders", report.senders}};
}

std::string to_text(const StreamReport& report) {
  if (report.received == 0 && report.malformed == 0) {
    return "no samples";
  }
  std::string text;
  if (report.samples == 0) {
    text = fmt::format("silent for {:.1f} s", report.silence_s);
  } else if (report.samples == 1) {
    text = fmt::format("1 sample, {}", size_text(report.mean_size));
  } else {
    text = fmt::format("{:.2f} Hz, period {} to {}, jitter {}, {} each, {}/s", report.hertz,
                       milliseconds(report.shortest_period_s), milliseconds(report.longest_period_s),
                       milliseconds(report.jitter_s), size_text(report.mean_size), size_text(report.bytes_per_second));
  }
  if (report.stamped > 0) {
    text += fmt::format(", latency {} ({} to {})", milliseconds(report.latency_s), milliseconds(report.least_latency_s),
                        milliseconds(report.greatest_latency_s));
  }
  text += fmt::format(" | sent {}, received {}, lost {}", report.received + report.lost, report.received, report.lost);
  text += report.unexpected > 0 ? fmt::format(", repeated or late {}", report.unexpected) : "";
  text += report.malformed > 0 ? fmt::format(", malformed {}", report.malformed) : "";
  text += report.senders > 1 ? fmt::format(", senders {}", report.senders) : "";
  text += report.least_latency_s < 0 ? " | the sender's clock is ahead of this one" : "";
  return text;
}

}  // namespace norvik::tools

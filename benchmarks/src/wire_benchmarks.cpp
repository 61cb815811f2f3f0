#include "wire_benchmarks.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <functional>
#include <iostream>
#include <map>
#include <mutex>
#include <sstream>
#include <thread>

#include "partner_process.hpp"
#include "stack.hpp"

namespace norvik::benchmarks {
namespace {

constexpr const char* kTopic = "benchmark/stream";
constexpr const char* kCreditTopic = "benchmark/credit";
constexpr const char* kService = "benchmark/echo";
constexpr size_t kCreditSize = 16;
constexpr int kRepeats = 3;  // The stacks take turns, so that slow phases of the machine hit both.
constexpr int64_t kWarmUp = -1;
constexpr std::chrono::milliseconds kWarmUpPeriod{100};

using Figures = std::map<std::string, double>;

Figures parse_figures(const std::string& text) {
  std::istringstream stream(text);
  Figures figures;
  std::string name;
  double value = 0.0;
  while (stream >> name >> value) {
    figures[name] = value;
  }
  return figures;
}

// Sends warm-up samples until the parent says that the other side has received one.
void warm_up(NumberPublisher& publisher) {
  std::atomic<bool> started{false};
  std::thread reader([&started] {
    std::string line;
    std::getline(std::cin, line);
    started = true;
  });
  while (!started) {
    publisher.send(kWarmUp);
    std::this_thread::sleep_for(kWarmUpPeriod);
  }
  reader.join();
}

// Calls back with each measured number and says "matched" at the first sample; the process ends with the parent's word.
class MeasuredReader {
 public:
  MeasuredReader(Stack& stack, size_t size, std::function<void(int64_t)> on_number)
      : subscription_(stack.subscribe(kTopic, size, [this, on_number = std::move(on_number)](int64_t number) {
          if (!matched_.exchange(true)) {
            std::printf("matched\n");
            std::fflush(stdout);
          }
          if (number != kWarmUp) {
            on_number(number);
          }
        })) {}

 private:
  std::atomic<bool> matched_{false};
  std::unique_ptr<Subscription> subscription_;
};

void report(const Figures& figures) {
  std::printf("figures");
  for (const auto& [name, value] : figures) {
    std::printf(" %s %.3f", name.c_str(), value);
  }
  std::printf("\n");
  std::fflush(stdout);
}

class Counter {
 public:
  void add() {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++count_;
    changed_.notify_all();
  }
  // False when nothing more arrived for two seconds.
  bool wait_for(int64_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    int64_t seen = -1;
    while (count_ < count && seen != count_) {
      seen = count_;
      changed_.wait_for(lock, std::chrono::seconds(2), [this, count] { return count_ >= count; });
    }
    return count_ >= count;
  }
  int64_t count() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return count_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  int64_t count_ = 0;
};

void wait_for_parent() {
  std::string line;
  std::getline(std::cin, line);
}

int latency_reader(Stack& stack, size_t size, int64_t count) {
  std::vector<double> latencies_us;
  Counter received;
  const MeasuredReader reader(stack, size, [&](int64_t sent_ns) {
    latencies_us.push_back(static_cast<double>(now_ns() - sent_ns) / 1000.0);
    received.add();
  });
  wait_for_parent();
  received.wait_for(count);
  report({{"p50", percentile(latencies_us, 0.5)},
          {"p99", percentile(latencies_us, 0.99)},
          {"received", static_cast<double>(received.count())}});
  return 0;
}

int latency_writer(Stack& stack, size_t size, int64_t count, double rate_hz) {
  const auto publisher = stack.publisher(kTopic, size);
  warm_up(*publisher);
  auto next = std::chrono::steady_clock::now();
  for (int64_t i = 0; i < count; ++i) {
    next += std::chrono::nanoseconds(static_cast<int64_t>(1e9 / rate_hz));
    std::this_thread::sleep_until(next);
    publisher->send(now_ns());
  }
  wait_for_parent();
  return 0;
}

// The reader gives credit back in steps, so that the writer never runs further ahead than the histories reach.
int throughput_reader(Stack& stack, size_t size, int64_t count, int64_t window) {
  const auto credit = stack.publisher(kCreditTopic, kCreditSize);
  Counter received;
  std::atomic<int64_t> start_ns{0};
  std::atomic<int64_t> end_ns{0};
  const int64_t step = std::max<int64_t>(1, window / 4);
  const MeasuredReader reader(stack, size, [&](int64_t number) {
    if (number == 0) {
      start_ns = now_ns();
    }
    end_ns = now_ns();
    received.add();
    if ((number + 1) % step == 0) {
      credit->send(number + 1);
    }
  });
  wait_for_parent();
  received.wait_for(count);
  const double seconds = static_cast<double>(end_ns - start_ns) / 1e9;
  report({{"rate", seconds > 0.0 ? static_cast<double>(received.count() - 1) / seconds : 0.0},
          {"received", static_cast<double>(received.count())}});
  return 0;
}

int throughput_writer(Stack& stack, size_t size, int64_t count, int64_t window) {
  std::mutex mutex;
  std::condition_variable changed;
  int64_t acknowledged = 0;
  const auto credits = stack.subscribe(kCreditTopic, kCreditSize, [&](int64_t number) {
    const std::lock_guard<std::mutex> lock(mutex);
    acknowledged = std::max(acknowledged, number);
    changed.notify_all();
  });
  const auto publisher = stack.publisher(kTopic, size);
  warm_up(*publisher);
  std::this_thread::sleep_for(std::chrono::milliseconds(500));  // The credit topic is matched too.
  for (int64_t i = 0; i < count; ++i) {
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait_for(lock, std::chrono::seconds(2), [&] { return i - acknowledged < window; });
    lock.unlock();
    publisher->send(i);
  }
  wait_for_parent();
  return 0;
}

int echo_server(Stack& stack) {
  const auto server = stack.echo_server(kService);
  wait_for_parent();
  return 0;
}

int echo_client(Stack& stack, size_t size, int64_t count) {
  const auto client = stack.echo_client(kService, size);
  std::vector<double> times_us;
  for (int64_t i = 0; i < count; ++i) {
    const int64_t start = now_ns();
    if (client->call()) {
      times_us.push_back(static_cast<double>(now_ns() - start) / 1000.0);
    }
  }
  report({{"p50", percentile(times_us, 0.5)},
          {"p99", percentile(times_us, 0.99)},
          {"received", static_cast<double>(times_us.size())}});
  wait_for_parent();
  return 0;
}

// Runs one reader and one writer process and returns the reader's figures.
Figures run_pair(const std::vector<std::string>& reader_role, const std::vector<std::string>& writer_role) {
  PartnerProcess reader(self_command(reader_role));
  PartnerProcess writer(self_command(writer_role));
  reader.read_after("matched");
  reader.write_line("go");
  writer.write_line("go");
  Figures figures = parse_figures(reader.read_after("figures"));
  writer.write_line("end");
  return figures;
}

// The median of each figure over the repeats; "received" is the smallest.
Figures combine(const std::vector<Figures>& runs) {
  Figures result;
  for (const auto& [name, first] : runs.front()) {
    std::vector<double> values;
    values.reserve(runs.size());
    for (const auto& run : runs) {
      values.push_back(run.at(name));
    }
    result[name] = name == "received" ? *std::min_element(values.begin(), values.end()) : percentile(values, 0.5);
  }
  return result;
}

struct Compared {
  Figures raw;
  Figures ours;
};

template <typename Measure>
Compared compare(Measure measure) {
  std::vector<Figures> raw;
  std::vector<Figures> ours;
  for (int i = 0; i < kRepeats; ++i) {
    raw.push_back(measure("raw"));
    ours.push_back(measure("ovimux"));
  }
  return {combine(raw), combine(ours)};
}

std::string loss_note(const Compared& result, int64_t sent) {
  const auto lost_ours = sent - static_cast<int64_t>(result.ours.at("received"));
  const auto lost_raw = sent - static_cast<int64_t>(result.raw.at("received"));
  return lost_ours == 0 && lost_raw == 0 ? "no loss"
                                         : "LOST " + std::to_string(lost_ours) + ", raw " + std::to_string(lost_raw);
}

int64_t scaled(double scale, int64_t count) {
  return std::max<int64_t>(20, static_cast<int64_t>(scale * static_cast<double>(count)));
}

}  // namespace

std::vector<Row> latency_rows(double scale) {
  struct Case {
    const char* name;
    size_t size;
    double rate_hz;
    int64_t count;
    double p50_limit;
    double p99_limit;
  };
  constexpr Case kCases[] = {{"256 B", 256, 500, 2500, 1.25, 1.5},
                             {"16 KB", size_t{16} * 1024, 500, 2500, 1.25, 1.5},
                             {"64 KB", 65000, 400, 2000, 1.25, 1.5},
                             {"1 MB", 1000000, 50, 250, 1.1, 1.3},
                             {"10 MB", 10485000, 10, 40, 1.1, 1.3}};
  std::vector<Row> rows;
  for (const auto& c : kCases) {
    const auto count = scaled(scale, c.count);
    const auto result = compare([&](const std::string& stack) {
      const auto size = std::to_string(c.size);
      return run_pair({"latency_reader", stack, size, std::to_string(count)},
                      {"latency_writer", stack, size, std::to_string(count), std::to_string(c.rate_hz)});
    });
    const std::string name = std::string("publish to callback, ") + c.name;
    const std::string note = loss_note(result, count);
    rows.push_back({name + ", p50", "us", result.raw.at("p50"), result.ours.at("p50"), c.p50_limit, false, note});
    rows.push_back({name + ", p99", "us", result.raw.at("p99"), result.ours.at("p99"), c.p99_limit, false, note});
  }
  return rows;
}

std::vector<Row> throughput_rows(double scale) {
  struct Case {
    const char* name;
    size_t size;
    int64_t count;
    int64_t window;
  };
  constexpr Case kCases[] = {{"64 KB", 65000, 20000, 48}, {"1 MB", 1000000, 2000, 4}, {"10 MB", 10485000, 200, 4}};
  std::vector<Row> rows;
  for (const auto& c : kCases) {
    const auto count = scaled(scale, c.count);
    const auto result = compare([&](const std::string& stack) {
      const std::vector<std::string> arguments = {stack, std::to_string(c.size), std::to_string(count),
                                                  std::to_string(c.window)};
      std::vector<std::string> reader = arguments;
      std::vector<std::string> writer = arguments;
      reader.insert(reader.begin(), "throughput_reader");
      writer.insert(writer.begin(), "throughput_writer");
      return run_pair(reader, writer);
    });
    const double megabytes = static_cast<double>(c.size) / 1e6;
    rows.push_back({std::string("one-way throughput, ") + c.name, "MB/s", result.raw.at("rate") * megabytes,
                    result.ours.at("rate") * megabytes, 0.9, true, loss_note(result, count)});
  }
  return rows;
}

std::vector<Row> round_trip_rows(double scale) {
  const auto count = scaled(scale, 5000);
  const auto result = compare([&](const std::string& stack) {
    PartnerProcess server(self_command({"echo_server", stack}));
    PartnerProcess client(self_command({"echo_client", stack, "1024", std::to_string(count)}));
    Figures figures = parse_figures(client.read_after("figures"));
    client.write_line("end");
    server.write_line("end");
    return figures;
  });
  const std::string note = loss_note(result, count);
  return {{"request to response, 1 KB, p50", "us", result.raw.at("p50"), result.ours.at("p50"), 1.4, false, note},
          {"request to response, 1 KB, p99", "us", result.raw.at("p99"), result.ours.at("p99"), 1.6, false, note}};
}

int run_wire_role(const std::vector<std::string>& arguments) {
  using Role = std::function<int(Stack&)>;
  const auto number = [&arguments](size_t index) { return std::stoll(arguments.at(index)); };
  const auto size = [&number](size_t index) { return static_cast<size_t>(number(index)); };
  const std::map<std::string, Role> roles = {
      {"latency_reader", [&](Stack& stack) { return latency_reader(stack, size(2), number(3)); }},
      {"latency_writer",
       [&](Stack& stack) { return latency_writer(stack, size(2), number(3), std::stod(arguments.at(4))); }},
      {"throughput_reader", [&](Stack& stack) { return throughput_reader(stack, size(2), number(3), number(4)); }},
      {"throughput_writer", [&](Stack& stack) { return throughput_writer(stack, size(2), number(3), number(4)); }},
      {"echo_server", [](Stack& stack) { return echo_server(stack); }},
      {"echo_client", [&](Stack& stack) { return echo_client(stack, size(2), number(3)); }},
  };
  const auto it = roles.find(arguments.front());
  return it != roles.end() ? it->second(*make_stack(arguments.at(1))) : -1;
}

}  // namespace norvik::benchmarks

#include "sensor_benchmarks.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <thread>
#include <utility>
#include <norvik_sdk/sensor_callbacks.hpp>

#include "norvik/sensor_proto/image.pb.h"
#include "norvik/sensor_proto/point_cloud.pb.h"
#include "raw_stack.hpp"
#include "robot_process.hpp"

namespace norvik::benchmarks {
namespace {

using sdk::SensorType;

constexpr size_t kPictureSize = 500000;
constexpr size_t kDepthSize = size_t{640} * 480 * 2;
constexpr size_t kCloudSize = 1000000;
// Less than that comes from the simulated robot's own sensors, which run beside at the lowest size and rate.
constexpr size_t kSmallestOfOurs = 400000;

enum class Kind { kColour, kSurround, kInfrared, kDepth, kCloud };

struct Stream {
  SensorType sensor;
  Kind kind;
  const char* topic;
  size_t size;
  double rate_hz;
};

// Ten cameras and two depth cameras at 30 Hz. The K2 has one lidar: its stream carries what four would at 10 Hz.
constexpr Stream kStreams[] = {
    {SensorType::HEAD_LEFT_CAMERA, Kind::kColour, "/front_head_camera/left_color/image_raw", kPictureSize, 30},
    {SensorType::HEAD_RIGHT_CAMERA, Kind::kColour, "/front_head_camera/right_color/image_raw", kPictureSize, 30},
    {SensorType::LEFT_ARM_CAMERA, Kind::kColour, "/left_arm_camera/color/image_raw", kPictureSize, 30},
    {SensorType::RIGHT_ARM_CAMERA, Kind::kColour, "/right_arm_camera/color/image_raw", kPictureSize, 30},
    {SensorType::LEFT_FRONT_SURROUND_CAMERA, Kind::kSurround, "/left_front_surround/color/image_raw", kPictureSize, 30},
    {SensorType::RIGHT_FRONT_SURROUND_CAMERA, Kind::kSurround, "/right_front_surround/color/image_raw", kPictureSize,
     30},
    {SensorType::LEFT_REAR_SURROUND_CAMERA, Kind::kSurround, "/left_rear_surround/color/image_raw", kPictureSize, 30},
    {SensorType::RIGHT_REAR_SURROUND_CAMERA, Kind::kSurround, "/right_rear_surround/color/image_raw", kPictureSize, 30},
    {SensorType::LEFT_ARM_INFRA_CAMERA_1, Kind::kInfrared, "/left_arm_camera/infra1/image_rect_raw", kPictureSize, 30},
    {SensorType::RIGHT_ARM_INFRA_CAMERA_1, Kind::kInfrared, "/right_arm_camera/infra1/image_rect_raw", kPictureSize,
     30},
    {SensorType::LEFT_ARM_DEPTH_CAMERA, Kind::kDepth, "/left_arm_camera/depth/image_raw", kDepthSize, 30},
    {SensorType::RIGHT_ARM_DEPTH_CAMERA, Kind::kDepth, "/right_arm_camera/depth/image_raw", kDepthSize, 30},
    {SensorType::BASE_LIDAR, Kind::kCloud, "/lidar_chassis_f/lidar/data_raw", kCloudSize, 40},
};

int64_t wall_ns() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch())
      .count();
}

// ---- The sender ----

template <typename Message>
std::string stamped(Message& message, int64_t time_ns) {
  auto& stamp = *message.mutable_header()->mutable_timestamp();
  stamp.set_sec(time_ns / 1000000000);
  stamp.set_nanosec(static_cast<uint32_t>(time_ns % 1000000000));
  return message.SerializeAsString();
}

// A message of the stream's kind and size, with the time it is asked for.
std::function<std::string(int64_t)> make_message(const Stream& stream) {
  if (stream.kind == Kind::kCloud) {
    auto cloud = std::make_shared<sensor_proto::PointCloud2>();
    cloud->set_data(std::string(stream.size, 'x'));
    return [cloud](int64_t time_ns) { return stamped(*cloud, time_ns); };
  }
  auto picture = std::make_shared<sensor_proto::CompressedImage>();
  picture->set_data(std::string(stream.size, 'x'));
  return [picture](int64_t time_ns) { return stamped(*picture, time_ns); };
}

class StreamSender {
 public:
  StreamSender(RawParticipant& participant, const Stream& stream)
      : writer_(participant.create_writer(stream.topic, true)),
        message_(make_message(stream)),
        period_(static_cast<int64_t>(1e9 / stream.rate_hz)),
        has_callback_(stream.kind != Kind::kSurround) {}

  // The simulated robot reads no sensor, so every reader is the receiver's.
  bool is_read() const {
    eprosima::fastdds::dds::PublicationMatchedStatus status;
    writer_->get_publication_matched_status(status);
    return status.current_count > 0;
  }

  void send() {
    const int64_t time_ns = wall_ns();
    const std::string bytes = message_(time_ns);
    envelope_.raw_data.assign(bytes.begin(), bytes.end());
    envelope_.pkg_len = static_cast<int32_t>(bytes.size());
    envelope_.timestamp_sec = static_cast<uint32_t>(time_ns / 1000000000);
    envelope_.timestamp_nsec = static_cast<uint32_t>(time_ns % 1000000000);
    ++envelope_.seq;
    writer_->write(&envelope_);
    next += period_;
  }

  bool has_callback() const { return has_callback_; }

  std::chrono::steady_clock::time_point next;

 private:
  eprosima::fastdds::dds::DataWriter* const writer_;
  const std::function<std::string(int64_t)> message_;
  const std::chrono::nanoseconds period_;
  const bool has_callback_;
  ovimux::Envelope envelope_;
};

struct Sent {
  int with_callback = 0;
  int polled = 0;
};

// Sends every stream at its rate, their starts spread over a period.
Sent send_all(std::vector<StreamSender>& senders, int seconds) {
  const auto start = std::chrono::steady_clock::now();
  for (size_t i = 0; i < senders.size(); ++i) {
    senders[i].next = start + i * std::chrono::microseconds(2500);
  }
  Sent sent;
  while (true) {
    const auto sender =
        std::min_element(senders.begin(), senders.end(), [](const auto& a, const auto& b) { return a.next < b.next; });
    if (sender->next > start + std::chrono::seconds(seconds)) {
      return sent;
    }
    std::this_thread::sleep_until(sender->next);
    sender->send();
    ++(sender->has_callback() ? sent.with_callback : sent.polled);
  }
}

int sensor_source(int seconds) {
  RawParticipant participant;
  std::vector<StreamSender> senders;
  for (const Stream& stream : kStreams) {
    senders.emplace_back(participant, stream);
  }
  while (!std::all_of(senders.begin(), senders.end(), [](const auto& sender) { return sender.is_read(); })) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  say("matched");
  wait_for_parent();
  const Sent sent = send_all(senders, seconds);
  report({static_cast<double>(sent.with_callback), static_cast<double>(sent.polled)});
  wait_for_parent();
  return 0;
}

// ---- The receivers ----

// Counts samples and their ages. Any thread.
class Arrivals {
 public:
  void add(int64_t sent_ns) {
    const double age_us = static_cast<double>(wall_ns() - sent_ns) / 1000.0;
    const std::lock_guard<std::mutex> lock(mutex_);
    ages_us_.push_back(age_us);
  }
  // A sample that was found by polling: its age says nothing.
  void add_polled() { ++polled_; }

  // How many came by callback and how many by polling, median and p99 of the ages in microseconds.
  std::vector<double> figures() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return {static_cast<double>(ages_us_.size()), static_cast<double>(polled_), percentile(ages_us_, 0.5),
            percentile(ages_us_, 0.99)};
  }

 private:
  std::mutex mutex_;
  std::vector<double> ages_us_;
  std::atomic<int> polled_{0};
};

// Share of one processor that this process takes with the simulated robot alone.
double idle_share() {
  constexpr int kSeconds = 3;
  std::this_thread::sleep_for(std::chrono::seconds(2));  // Everything is matched.
  const double cpu_s = cpu_seconds();
  std::this_thread::sleep_for(std::chrono::seconds(kSeconds));
  return (cpu_seconds() - cpu_s) / kSeconds;
}

// Takes the processor time and the memory between two words of the parent, then the arrivals' figures.
int report_usage(Arrivals& arrivals) {
  const double idle = idle_share();
  say("receiving");
  wait_for_parent();
  const double cpu_s = cpu_seconds();
  std::this_thread::sleep_for(std::chrono::seconds(3));  // Histories have taken the memory they keep.
  const double resident_mb = resident_megabytes();
  wait_for_parent();
  auto figures = arrivals.figures();
  figures.insert(figures.end(), {cpu_seconds() - cpu_s, resident_megabytes() - resident_mb, idle});
  report(figures);
  wait_for_parent();
  return 0;
}

int sensors_raw() {
  Arrivals arrivals;
  RawParticipant participant;
  for (const Stream& stream : kStreams) {
    participant.create_reader(
        stream.topic, true,
        [&arrivals, is_polled = stream.kind == Kind::kSurround](const ovimux::Envelope& envelope,
                                                                const eprosima::fastdds::dds::SampleInfo&) {
          if (envelope.raw_data.size() < kSmallestOfOurs) {
            return;
          }
          if (is_polled) {
            arrivals.add_polled();
          } else {
            arrivals.add(static_cast<int64_t>(envelope.timestamp_sec) * 1000000000 + envelope.timestamp_nsec);
          }
        });
  }
  return report_usage(arrivals);
}

std::set<SensorType> all_sensors() {
  std::set<SensorType> sensors;
  for (const Stream& stream : kStreams) {
    sensors.insert(stream.sensor);
  }
  return sensors;
}

// The applications' way to receive; surround cameras are polled every 10 ms, as they have no callbacks.
class Receiver {
 public:
  Receiver(sdk::NorvikRobot& robot, Arrivals& arrivals) : robot_(robot), arrivals_(arrivals) {
    for (const Stream& stream : kStreams) {
      add(*sdk::get_sensor_callbacks(robot), stream.sensor, stream.kind);
    }
    poller_ = std::thread([this] { poll(); });
  }
  ~Receiver() {
    done_ = true;
    poller_.join();
  }
  Receiver(const Receiver&) = delete;
  Receiver& operator=(const Receiver&) = delete;

 private:
  template <typename Record>
  void take(const std::shared_ptr<Record>& record) {
    if (record->data.size() >= kSmallestOfOurs) {
      arrivals_.add(record->timestamp_ns);
    }
  }

  void add(sdk::SensorCallbacks& callbacks, SensorType sensor, Kind kind) {
    const auto take_it = [this](const auto& record) { take(record); };
    switch (kind) {
      case Kind::kColour:
        callbacks.add_rgb_data_callback(sensor, take_it);
        break;
      case Kind::kInfrared:
        callbacks.add_ir_data_callback(sensor, take_it);
        break;
      case Kind::kDepth:
        callbacks.add_depth_data_callback(sensor, take_it);
        break;
      case Kind::kCloud:
        callbacks.add_lidar_callback(sensor, take_it);
        break;
      case Kind::kSurround:
        break;
    }
  }

  // Often enough to meet every picture.
  void poll() {
    std::map<SensorType, int64_t> last_ns;
    while (!done_) {
      for (const Stream& stream : kStreams) {
        const auto picture = stream.kind == Kind::kSurround ? robot_.get_rgb_data(stream.sensor) : nullptr;
        if (picture && picture->data.size() >= kSmallestOfOurs &&
            std::exchange(last_ns[stream.sensor], picture->timestamp_ns) != picture->timestamp_ns) {
          arrivals_.add_polled();
        }
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }

  sdk::NorvikRobot& robot_;
  Arrivals& arrivals_;
  std::atomic<bool> done_{false};
  std::thread poller_;
};

// Every poll would write a record otherwise.
void log_errors_only() { ::setenv("NORVIK_SDK_LOG_LEVEL", "4", 1); }

int sensors_sdk() {
  log_errors_only();
  auto* robot = start_robot(all_sensors());
  if (robot == nullptr) {
    return 1;
  }
  Arrivals arrivals;
  const Receiver receiver(*robot, arrivals);
  const int status = report_usage(arrivals);
  robot->destroy();  // No callback runs from here on.
  return status;
}

// The time of a poll, and of the least it could do: copy a guarded pointer.
int poll_cost() {
  constexpr int kCalls = 1000;
  log_errors_only();
  const SensorType sensor = SensorType::HEAD_LEFT_CAMERA;
  auto* robot = start_robot({sensor});
  if (robot == nullptr) {
    return 1;
  }
  std::shared_ptr<sdk::RgbData> picture;
  while (!(picture = robot->get_rgb_data(sensor))) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  std::shared_mutex mutex;
  std::shared_ptr<sdk::RgbData> taken;
  const double copy_us = median_call_us(200, [&] {
    for (int i = 0; i < kCalls; ++i) {
      const std::shared_lock<std::shared_mutex> lock(mutex);
      taken = picture;
    }
  });
  const double poll_us = median_call_us(200, [&] {
    for (int i = 0; i < kCalls; ++i) {
      taken = robot->get_rgb_data(sensor);
    }
  });
  report({copy_us / kCalls, poll_us / kCalls});
  wait_for_parent();
  return 0;
}

// ---- The parent ----

const std::vector<std::string>& smallest_sensors() {
  static const std::vector<std::string> options = {"--infrared", "--camera-size", "128x96", "--camera-rate",
                                                   "1",          "--lidar-rate",  "1"};
  return options;
}

struct SensorFigures {
  double lost;
  double missed_by_polls;  // Of the surround cameras; the raw reader has a callback for them.
  double p50_us;
  double p99_us;
  double cpu_percent;  // Of one processor, for the streams: what runs without them is taken off.
  double growth_mb;
  double idle_percent;
};

SensorFigures measure_sensors(const std::string& role, int seconds) {
  const Simulator simulator(100, smallest_sensors());
  PartnerProcess receiver(self_command({role}));
  receiver.read_after("receiving");
  PartnerProcess source(self_command({"sensor_source", std::to_string(seconds)}));
  source.read_after("matched");
  receiver.write_line("start");
  source.write_line("start");
  const auto sent = read_figures(source);
  std::this_thread::sleep_for(std::chrono::seconds(1));
  receiver.write_line("end");
  const auto figures = read_figures(receiver);
  receiver.write_line("end");
  source.write_line("end");
  return {sent.at(0) - figures.at(0),
          sent.at(1) - figures.at(1),
          figures.at(2),
          figures.at(3),
          100.0 * (figures.at(4) / seconds - figures.at(6)),
          figures.at(5),
          100.0 * figures.at(6)};
}

// The median of a figure over the repeats.
double median_of(const std::vector<SensorFigures>& runs, double SensorFigures::*figure) {
  std::vector<double> values;
  values.reserve(runs.size());
  for (const auto& run : runs) {
    values.push_back(run.*figure);
  }
  return percentile(values, 0.5);
}

double sum_of(const std::vector<SensorFigures>& runs, double SensorFigures::*figure) {
  double sum = 0.0;
  for (const auto& run : runs) {
    sum += run.*figure;
  }
  return sum;
}

Row poll_row() {
  const Simulator simulator(100, smallest_sensors());
  const auto poll = run_role({"poll_cost"});
  return {"get_rgb_data, p50 of the call without its record",
          "us",
          0.0,
          poll.at(1),
          1.0,
          false,
          "copy of a guarded pointer: " + std::to_string(static_cast<int>(1000.0 * poll.at(0))) + " ns"};
}

}  // namespace

std::vector<Row> sensor_rows(double scale) {
  constexpr int kRepeats = 3;  // The two take turns, so that slow phases of the machine hit both.
  const int seconds = std::max(5, static_cast<int>(20 * scale));
  std::vector<SensorFigures> raw;
  std::vector<SensorFigures> ours;
  for (int i = 0; i < kRepeats; ++i) {
    raw.push_back(measure_sensors("sensors_raw", seconds));
    ours.push_back(measure_sensors("sensors_sdk", seconds));
  }
  const auto text = [](double value) { return std::to_string(static_cast<int>(value)); };
  const std::string name = "all sensors, 227 MB/s, ";
  const auto ratio_row = [&](const std::string& what, const char* unit, double SensorFigures::*figure, double limit) {
    return Row{name + what, unit, median_of(raw, figure), median_of(ours, figure), limit, false, ""};
  };
  std::vector<Row> rows = {
      {name + text(kRepeats * seconds) + " s, lost", "", 0.0, sum_of(ours, &SensorFigures::lost), 0.0, false,
       "raw: " + text(sum_of(raw, &SensorFigures::lost)) +
           "; surround pictures that polls missed: " + text(sum_of(ours, &SensorFigures::missed_by_polls))},
      ratio_row("processor for it", "%", &SensorFigures::cpu_percent, 1.2),
      ratio_row("publish to callback, p50", "us", &SensorFigures::p50_us, 1.5),
      ratio_row("publish to callback, p99", "us", &SensorFigures::p99_us, 1.5),
      {name + "growth in " + text(seconds) + " s", "MB", 0.0, median_of(ours, &SensorFigures::growth_mb), 10.0, false,
       "raw: " + text(median_of(raw, &SensorFigures::growth_mb)) + " MB"},
      poll_row(),
  };
  rows[1].note = "without the streams: raw " + text(median_of(raw, &SensorFigures::idle_percent)) + " %, ours " +
                 text(median_of(ours, &SensorFigures::idle_percent)) + " %";
  return rows;
}

int run_sensor_role(const std::vector<std::string>& arguments) {
  const std::map<std::string, std::function<int()>> roles = {
      {"sensor_source", [&] { return sensor_source(std::stoi(arguments.at(1))); }},
      {"sensors_raw", [] { return sensors_raw(); }},
      {"sensors_sdk", [] { return sensors_sdk(); }},
      {"poll_cost", [] { return poll_cost(); }},
  };
  const auto it = roles.find(arguments.front());
  return it != roles.end() ? it->second() : -1;
}

}  // namespace norvik::benchmarks

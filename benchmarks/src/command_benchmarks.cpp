#include "command_benchmarks.hpp"

#include <chrono>
#include <cmath>
#include <functional>
#include <iostream>
#include <map>
#include <mutex>
#include <thread>

#include "norvik/tavrinox_proto/tavrinox_target.pb.h"
#include "raw_stack.hpp"
#include "robot_process.hpp"

namespace norvik::benchmarks {
namespace {

using sdk::ControlStatus;
using sdk::JointCommand;

constexpr const char* kTargetTopic = "tavrinox/wbcs/target";
constexpr std::chrono::milliseconds kPeriod{1};

struct Group {
  const char* name;
  int joints;
};

// Both arms, and for 21 joints leg and head too.
std::vector<Group> groups_of(int joints) {
  std::vector<Group> groups = {{"left_arm", 7}, {"right_arm", 7}};
  if (joints > 14) {
    groups.insert(groups.end(), {{"leg", 5}, {"head", 2}});
  }
  return groups;
}

std::vector<std::string> group_names(int joints) {
  std::vector<std::string> names;
  for (const Group& group : groups_of(joints)) {
    names.emplace_back(group.name);
  }
  return names;
}

// The target that set_joint_commands sends for these joints.
std::string target_bytes(int joints) {
  tavrinox_proto::TavrinoXTarget target;
  for (const Group& group : groups_of(joints)) {
    auto& trajectory = (*target.mutable_target_group_trajectory_map())[group.name];
    trajectory.mutable_target_config()->set_target_data(255);
    trajectory.mutable_target_config()->set_target_type(10);
    trajectory.mutable_target_config()->set_target_priority(1);
    auto& command = *trajectory.add_group_commands();
    command.mutable_time_from_start();
    for (int i = 1; i <= group.joints; ++i) {
      trajectory.add_joint_names(std::string(group.name) + "_joint" + std::to_string(i));
      command.add_joint_commands();
    }
  }
  return target.SerializeAsString();
}

// A set-point sender by some means; false when the set-point was not sent.
using Send = std::function<bool()>;

Send make_nothing_sender() {
  return [] { return true; };
}

// Null when no robot takes commands.
Send make_sdk_sender(int joints) {
  auto* robot = start_robot();
  const std::vector<JointCommand> commands(static_cast<size_t>(joints));
  const auto groups = group_names(joints);
  if (robot == nullptr || !wait_until_commandable(*robot, commands, groups)) {
    return nullptr;
  }
  return [robot, commands, groups] {
    return robot->set_joint_commands(commands, groups, {}, 0.0) == ControlStatus::SUCCESS;
  };
}

Send make_raw_sender(int joints) {
  auto participant = std::make_shared<RawParticipant>();
  auto* writer = participant->create_writer(kTargetTopic, false);
  const std::string bytes = target_bytes(joints);
  auto envelope = std::make_shared<ovimux::Envelope>();
  envelope->raw_data.assign(bytes.begin(), bytes.end());
  envelope->pkg_len = static_cast<int32_t>(bytes.size());
  std::this_thread::sleep_for(std::chrono::seconds(1));  // The simulator is matched.
  return [participant, writer, envelope] {
    ++envelope->seq;
    return writer->write(envelope.get());
  };
}

Send make_sender(const std::string& means, int joints) {
  if (means == "nothing") {
    return make_nothing_sender();
  }
  return means == "raw" ? make_raw_sender(joints) : make_sdk_sender(joints);
}

int command_cost(const std::string& means, int count, int joints) {
  const Send send = make_sender(means, joints);
  if (send == nullptr) {
    return 1;
  }
  report({median_call_us(count, send)});
  wait_for_parent();
  return 0;
}

struct StreamFigures {
  int sent = 0;
  double period_error_us = 0.0;  // 99 of 100 periods are closer to a millisecond.
  double call_us = 0.0;          // Median.
};

StreamFigures stream_for(int count, const Send& send) {
  std::vector<double> period_errors_us;
  std::vector<double> calls_us;
  StreamFigures figures;
  auto next = std::chrono::steady_clock::now();
  int64_t previous = 0;
  for (int i = 0; i < count; ++i) {
    next += kPeriod;
    std::this_thread::sleep_until(next);
    const int64_t start = now_ns();
    figures.sent += send() ? 1 : 0;
    calls_us.push_back(static_cast<double>(now_ns() - start) / 1000.0);
    if (i > 0) {
      period_errors_us.push_back(std::abs(static_cast<double>(start - previous) / 1000.0 - 1000.0));
    }
    previous = start;
  }
  figures.period_error_us = percentile(period_errors_us, 0.99);
  figures.call_us = percentile(calls_us, 0.5);
  return figures;
}

// Sends set-points at 1 kHz once the parent says so.
int stream_role(const std::string& means, int count, int joints) {
  const Send send = make_sender(means, joints);
  if (send == nullptr) {
    return 1;
  }
  say("streaming");
  wait_for_parent();
  const StreamFigures figures = stream_for(count, send);
  report({static_cast<double>(figures.sent), figures.period_error_us, figures.call_us});
  wait_for_parent();
  return 0;
}

// Counts the samples that arrive on the target topic, as the robot would see them.
int count_commands() {
  double count = 0.0;
  std::mutex mutex;
  RawParticipant participant;
  participant.create_reader(kTargetTopic, false,
                            [&](const ovimux::Envelope&, const eprosima::fastdds::dds::SampleInfo&) {
                              const std::lock_guard<std::mutex> lock(mutex);
                              ++count;
                            });
  for (std::string line; std::getline(std::cin, line);) {
    const std::lock_guard<std::mutex> lock(mutex);
    report({count});
    count = 0.0;
  }
  return 0;
}

// The figures of one stream, with `sent` lowered to what arrived.
StreamFigures measure_stream(const std::string& means, int count, int joints) {
  const Simulator simulator;
  PartnerProcess counter(self_command({"count_commands"}));
  PartnerProcess sender(self_command({"stream", means, std::to_string(count), std::to_string(joints)}));
  sender.read_after("streaming");
  std::this_thread::sleep_for(std::chrono::seconds(1));
  counter.write_line("reset");
  read_figures(counter);
  sender.write_line("go");
  const auto sent = read_figures(sender);
  std::this_thread::sleep_for(std::chrono::seconds(1));
  counter.write_line("count");
  const auto received = read_figures(counter);
  sender.write_line("end");
  return {static_cast<int>(std::min(sent.at(0), received.at(0))), sent.at(1), sent.at(2)};
}

}  // namespace

std::vector<Row> command_cost_rows(double scale) {
  const Simulator simulator;
  const std::string count = std::to_string(scaled_count(scale, 5000));
  const double raw = run_role({"command_cost", "raw", count, "14"}).at(0);
  const double ours = run_role({"command_cost", "sdk", count, "14"}).at(0);
  return {{"set_joint_commands, 14 joints, p50 of the call", "us", raw, ours, 1.5, false, ""},
          {"set_joint_commands, 14 joints, p50 of the call", "us", 0.0, ours, 30.0, false, "absolute"}};
}

// The loop that sends nothing shows what the machine makes of a millisecond.
std::vector<Row> stream_rows(double scale) {
  const int count = scaled_count(scale, 60000);
  const StreamFigures idle = measure_stream("nothing", count, 14);
  std::vector<Row> rows;
  for (const int joints : {14, 21}) {
    const StreamFigures raw = measure_stream("raw", count, joints);
    const StreamFigures ours = measure_stream("sdk", count, joints);
    const std::string name =
        "1 kHz set-points, " + std::to_string(joints) + " joints, " + std::to_string(count / 1000) + " s";
    const std::string machine = "sending nothing: " + std::to_string(static_cast<int>(idle.period_error_us)) + " us";
    rows.push_back({name + ", not received", "", 0.0, static_cast<double>(count - ours.sent), 0.0, false,
                    "raw: " + std::to_string(count - raw.sent)});
    rows.push_back(
        {name + ", p99 of the period error", "us", raw.period_error_us, ours.period_error_us, 1.2, false, machine});
    rows.push_back({name + ", p99 of the period error", "us", 0.0, ours.period_error_us, 200.0, false, "absolute"});
    rows.push_back({name + ", p50 of the call", "us", raw.call_us, ours.call_us, 1.5, false, ""});
  }
  return rows;
}

int run_command_role(const std::vector<std::string>& arguments) {
  const auto number = [&arguments](size_t index) { return std::stoi(arguments.at(index)); };
  const std::map<std::string, std::function<int()>> roles = {
      {"command_cost", [&] { return command_cost(arguments.at(1), number(2), number(3)); }},
      {"stream", [&] { return stream_role(arguments.at(1), number(2), number(3)); }},
      {"count_commands", [] { return count_commands(); }},
  };
  const auto it = roles.find(arguments.front());
  return it != roles.end() ? it->second() : -1;
}

}  // namespace norvik::benchmarks

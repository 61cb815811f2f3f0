// Two dexterous hands with topics of their own, outside the whole-body controller.
#include <cmath>
#include <mutex>

#include "norvik/tavrinox_proto/tavrinox_command.pb.h"
#include "norvik/tavrinox_proto/tavrinox_error.pb.h"
#include "norvik/tavrinox_proto/tavrinox_sensor.pb.h"
#include "services/services.hpp"
#include "wire/publisher.hpp"
#include "wire/state_messages.hpp"
#include "world/blend.hpp"
#include "world/group_follower.hpp"

namespace norvik::simulator {

namespace {

using tavrinox_proto::GroupCommand;
using tavrinox_proto::TavrinoXError;
using tavrinox_proto::TavrinoXSensor;

constexpr size_t kJointCount = 22;
constexpr double kHertz = 50.0;
constexpr JointLimits kLimits = {-180.0, 180.0, 360.0};
constexpr double kLargest = 1e9;
constexpr const char* kFingers[] = {"thumb", "index", "middle", "ring", "little"};

struct HandSide {
  const char* topics;  // What its topics begin with.
  const char* group;
  const char* label;
};
constexpr HandSide kSides[] = {{kLeftHandTopics, "left_dexhand", "LEFT"}, {kRightHandTopics, "right_dexhand", "RIGHT"}};

class Hand {
 public:
  Hand(Environment& environment, const HandSide& side)
      : environment_(environment),
        side_(side),
        follower_(std::vector<JointLimits>(kJointCount, kLimits), std::vector<double>(kJointCount, 0.0)),
        joint_(environment, topic("joint")),
        force_(environment, topic("force")),
        error_(environment, topic("ecode_status")),
        reader_(environment.node.CreateReader<GroupCommand>(
            topic("command_noblock"),
            [this](const std::shared_ptr<GroupCommand>& command, const void*) { follow(command); }, {})) {}

  void step(double dt) {
    const bool halted = !environment_.world.halt_reason(side_.group).empty();
    const std::lock_guard<std::mutex> lock(mutex_);
    if (halted) {
      follower_.stop();
    }
    follower_.step(dt);
  }

  void publish(const Tick& tick) {
    joint_.publish(joint_message(tick.stamp));
    force_.publish(force_message(tick.stamp));
    error_.publish(error_message(tick));
  }

 private:
  std::string topic(const std::string& name) const { return side_.topics + name; }

  void follow(const std::shared_ptr<GroupCommand>& command) {
    environment_.faults.count(topic("command_noblock"));
    Motion motion;
    std::string refusal = environment_.world.halt_reason(side_.group);
    if (refusal.empty() && !(command && read(*command, motion))) {
      refusal = "got a command that is not 22 numbers";
    }
    if (!refusal.empty()) {
      environment_.world.report({{side_.group, std::string(side_.group) + " " + refusal}});
      return;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    follower_.accept(motion);
  }

  static bool read(const GroupCommand& command, Motion& motion) {
    if (static_cast<size_t>(command.joint_commands_size()) != kJointCount) {
      return false;
    }
    Waypoint waypoint;
    for (const auto& joint : command.joint_commands()) {
      if (!(std::abs(joint.position()) <= kLargest && std::abs(joint.velocity()) <= kLargest)) {
        return false;
      }
      waypoint.positions.push_back(joint.position());
      waypoint.speeds.push_back(std::abs(joint.velocity()));
    }
    motion.blend = direct_pass();
    motion.waypoints = {waypoint};
    return true;
  }

  std::shared_ptr<TavrinoXSensor> joint_message(const core_proto::Timestamp& stamp) {
    auto message = std::make_shared<TavrinoXSensor>();
    *message->mutable_header()->mutable_timestamp() = stamp;
    auto& joints = (*message->mutable_joint_sensor_map())[side_.group];
    const std::lock_guard<std::mutex> lock(mutex_);
    for (size_t i = 0; i < kJointCount; ++i) {
      joints.add_name(std::string(side_.label) + "_joint_" + std::to_string(i + 1));
      joints.add_position(follower_.joints()[i].position);
      joints.add_velocity(follower_.joints()[i].velocity);
      joints.add_effort(0.0);
      joints.add_current(0.0);
    }
    return message;
  }

  static std::shared_ptr<TavrinoXSensor> force_message(const core_proto::Timestamp& stamp) {
    auto message = std::make_shared<TavrinoXSensor>();
    *message->mutable_header()->mutable_timestamp() = stamp;
    for (const char* finger : kFingers) {
      auto& force = (*message->mutable_effort_sensor_map())[finger];
      *force.mutable_header()->mutable_timestamp() = stamp;
      force.mutable_force();
      force.mutable_torque();
    }
    return message;
  }

  std::shared_ptr<TavrinoXError> error_message(const Tick& tick) const {
    GroupErrors errors;
    if (const auto error = tick.state.errors.find(side_.group); error != tick.state.errors.end()) {
      errors.insert(*error);
    }
    return std::make_shared<TavrinoXError>(make_error_reply(errors, {}));
  }

  Environment& environment_;
  const HandSide side_;
  std::mutex mutex_;  // Guards the follower.
  GroupFollower follower_;
  Publisher<TavrinoXSensor> joint_;
  Publisher<TavrinoXSensor> force_;
  Publisher<TavrinoXError> error_;
  std::shared_ptr<ovimux::SerializationReader<GroupCommand>> reader_;
};

class HandService : public Service {
 public:
  explicit HandService(Environment& environment) {
    for (const HandSide& side : kSides) {
      hands_.push_back(std::make_unique<Hand>(environment, side));
    }
  }

  void tick(const Tick& tick) override {
    const bool due = regular_.due(tick.time);
    for (const auto& hand : hands_) {
      hand->step(tick.time - last_time_);
      if (due) {
        hand->publish(tick);
      }
    }
    last_time_ = tick.time;
  }

 private:
  std::vector<std::unique_ptr<Hand>> hands_;
  Periodic regular_{kHertz};
  double last_time_ = 0.0;
};

}  // namespace

std::unique_ptr<Service> make_hand_service(Environment& environment) {
  return std::make_unique<HandService>(environment);
}

}  // namespace norvik::simulator

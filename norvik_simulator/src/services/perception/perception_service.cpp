// The perception computer: loads stereo modules, has them look once at a time, and tells what they see.
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <set>

#include "norvik/perception_proto/perception.pb.h"
#include "perception/detection.hpp"
#include "services/sensors/sensor_moment.hpp"
#include "services/services.hpp"
#include "sight/background_worker.hpp"
#include "wire/publisher.hpp"
#include "wire/service_server.hpp"
#include "world/refusal.hpp"

namespace norvik::simulator {

namespace {

using perception_proto::CommandReply;
using perception_proto::DetectionResult;
using perception_proto::PerceptionStatus;
using perception_proto::ServerCommand;

constexpr const char* kModelName = "FOUNDATION_STEREO";
constexpr const char* kCameraFrame = "head_left_camera_color_optical_frame";
constexpr size_t kMostRuns = 8;  // waiting for each other

enum Status : int32_t { kDone = 0, kNotLoaded = 1, kUnknown = 2, kBusy = 3, kRefused = 4 };

// What a command comes to, for its reply and the status topic.
struct Outcome {
  Status status;
  std::string description;
};

const char* camera_name(const RobotModel& robot) {
  return robot.name == "K2" ? "head_f_camera_stereo" : "head_f_camera_J38_stereo";
}

const StereoModule* find_module(const std::string& task_name) {
  for (const StereoModule& module : stereo_modules()) {
    if (module.task_name == task_name) {
      return &module;
    }
  }
  return nullptr;
}

// Why a command names nothing that this service has; empty when it does.
std::string unknown_name(const ServerCommand& command, const StereoModule* module, const char* camera) {
  const auto told = [](const char* what, const std::string& name) {
    return std::string("unknown ") + what + ": " + printable_name(name);
  };
  if (command.model_name() != kModelName) {
    return told("model", command.model_name());
  }
  if (module == nullptr) {
    return told("task", command.task_name());
  }
  if (command.task_id() != module->task_id) {
    return told("task id", command.task_id());
  }
  if (command.camera_name() != camera) {
    return told("camera", command.camera_name());
  }
  return command.command() == "load" || command.command() == "run_once" ? "" : told("command", command.command());
}

class PerceptionService : public Service {
 public:
  explicit PerceptionService(Environment& environment)
      : kinematics_(environment.world.kinematics()),
        camera_name_(camera_name(environment.world.robot())),
        pinhole_(make_pinhole(environment.sensors.picture_width, environment.sensors.picture_height, kHorizontalView)),
        statuses_(environment, kPerceptionStatusTopic),
        server_(
            kPerceptionService, {}, environment,
            [this](const ServerCommand& command) { return answer(command, carry_out(command)); },
            [this](const ServerCommand& command, const std::string& why) {
              return answer(command, {kRefused, why});
            }) {
    for (const StereoModule& module : stereo_modules()) {
      results_.push_back(std::make_unique<Publisher<DetectionResult>>(environment, module.topic, stream_qos()));
    }
  }

  void tick(const Tick& tick) override {
    publish_statuses();
    if (!worker_.is_idle()) {
      return;
    }
    if (!looked_) {
      take_next_run(tick);
    } else if (tick.time >= looked_->moment.time + std::chrono::duration<double>(looked_->module->work).count()) {
      worker_.start([this, run = *looked_] { work_out(run); });
      looked_.reset();
    }
  }

 private:
  // A module that has taken its pictures and has to work them out.
  struct Run {
    const StereoModule* module;
    SensorMoment moment;
  };

  Outcome carry_out(const ServerCommand& command) {
    const StereoModule* const module = find_module(command.task_name());
    if (const std::string why = unknown_name(command, module, camera_name_); !why.empty()) {
      return {kUnknown, why};
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    if (command.command() == "load") {
      loaded_.insert(module);
      return {kDone, "loaded"};
    }
    if (loaded_.count(module) == 0) {
      return {kNotLoaded, "not loaded"};
    }
    if (waiting_.size() >= kMostRuns) {
      return {kBusy, "busy"};
    }
    waiting_.push_back(module);
    return {kDone, "accepted"};
  }

  CommandReply answer(const ServerCommand& command, const Outcome& outcome) {
    CommandReply reply;
    reply.set_model_name(command.model_name());
    reply.set_task_name(command.task_name());
    reply.set_status(outcome.status);
    tell(command.task_name(), outcome);
    return reply;
  }

  // Published by the thread that steps.
  void tell(const std::string& task_name, const Outcome& outcome) {
    auto status = std::make_shared<PerceptionStatus>();
    status->set_task_name(task_name);
    status->set_description(outcome.description);
    status->set_status_code(outcome.status);
    const std::lock_guard<std::mutex> lock(mutex_);
    told_.push_back(std::move(status));
  }

  void publish_statuses() {
    std::deque<std::shared_ptr<PerceptionStatus>> told;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      told.swap(told_);
    }
    for (const auto& status : told) {
      statuses_.publish(status);
    }
  }

  void take_next_run(const Tick& tick) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!waiting_.empty()) {
      looked_.emplace(Run{waiting_.front(), SensorMoment(tick)});
      waiting_.pop_front();
    }
  }

  void work_out(const Run& run) {
    const auto camera = run.moment.link_pose(kinematics_, kCameraFrame);
    if (!camera) {
      return tell(run.module->task_name, {kUnknown, "no camera"});
    }
    scene_.move_to(run.moment.time, run.moment.things);
    const auto result = detect(scene_, pinhole_, *camera, run.moment.things, *run.module, random_);
    set_header(*result->mutable_header(), run.moment.stamp, kCameraFrame, ++seq_);
    results_[static_cast<size_t>(run.module - stereo_modules().data())]->publish(result);
    tell(run.module->task_name, {kDone, "done, " + std::to_string(result->poses_size()) + " objects"});
  }

  const Kinematics& kinematics_;
  const char* const camera_name_;
  const Pinhole pinhole_;
  std::mutex mutex_;  // guards the next three
  std::set<const StereoModule*> loaded_;
  std::deque<const StereoModule*> waiting_;
  std::deque<std::shared_ptr<PerceptionStatus>> told_;
  std::optional<Run> looked_;  // the stepping thread's
  Publisher<PerceptionStatus> statuses_;
  std::vector<std::unique_ptr<Publisher<DetectionResult>>> results_;  // the worker's, as what follows
  std::mt19937 random_;
  uint32_t seq_ = 0;
  Scene scene_;
  BackgroundWorker worker_;  // Before the last: its job uses the others.
  ServiceServer<ServerCommand, CommandReply> server_;
};

}  // namespace

std::unique_ptr<Service> make_perception_service(Environment& environment) {
  return std::make_unique<PerceptionService>(environment);
}

}  // namespace norvik::simulator

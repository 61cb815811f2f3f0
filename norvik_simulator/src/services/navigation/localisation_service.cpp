// Tells where the base believes to be, and takes somebody's word for it.
#include <cmath>
#include <nlohmann/json.hpp>

#include "norvik/spatial_proto/pose.pb.h"
#include "services/navigation/task_reader.hpp"
#include "services/services.hpp"
#include "wire/publisher.hpp"

namespace norvik::simulator {

namespace {

using spatial_proto::PoseMsg;

constexpr double kPoseHertz = 20.0;
constexpr double kScoreHertz = 10.0;

std::shared_ptr<PoseMsg> make_pose(const PlanarPose& pose, const core_proto::Timestamp& stamp, uint32_t seq) {
  auto message = std::make_shared<PoseMsg>();
  *message->mutable_header()->mutable_timestamp() = stamp;
  message->mutable_header()->set_frame_id("map");
  message->mutable_header()->set_seq(seq);
  message->mutable_pose()->mutable_position()->set_x(pose.x);
  message->mutable_pose()->mutable_position()->set_y(pose.y);
  message->mutable_pose()->mutable_orientation()->set_z(std::sin(pose.yaw / 2.0));
  message->mutable_pose()->mutable_orientation()->set_w(std::cos(pose.yaw / 2.0));
  return message;
}

class LocalisationService : public Service {
 public:
  explicit LocalisationService(Environment& environment)
      : environment_(environment),
        poses_(environment, kGlobalPoseTopic),
        scores_(environment, kLocalisationScoreTopic),
        initial_poses_(environment.node.CreateReader<PoseMsg>(
            kInitialPoseTopic, [this](const std::shared_ptr<PoseMsg>& pose, const void*) { relocalise(pose); }, {})) {}

  void tick(const Tick& tick) override {
    if (pose_due_.due(tick.time)) {
      poses_.publish(make_pose(tick.state.believed_pose(), tick.stamp, ++seq_));
    }
    if (score_due_.due(tick.time)) {
      const int64_t microseconds = tick.stamp.sec() * INT64_C(1000000) + tick.stamp.nanosec() / 1000;
      scores_.publish(nlohmann::json{{"timestamp", microseconds}, {"score", tick.state.localisation_score}}.dump());
    }
  }

 private:
  void relocalise(const std::shared_ptr<PoseMsg>& message) {
    environment_.faults.count(kInitialPoseTopic);
    PlanarPose pose;
    if (message && message->header().frame_id() == "map" && read_planar_pose(message->pose(), pose).empty()) {
      environment_.world.relocalise(pose);
    }
  }

  Environment& environment_;
  Publisher<PoseMsg> poses_;
  TextPublisher scores_;
  uint32_t seq_ = 0;
  Periodic pose_due_{kPoseHertz};
  Periodic score_due_{kScoreHertz};
  std::shared_ptr<ovimux::SerializationReader<PoseMsg>> initial_poses_;
};

}  // namespace

std::unique_ptr<Service> make_localisation_service(Environment& environment) {
  return std::make_unique<LocalisationService>(environment);
}

}  // namespace norvik::simulator

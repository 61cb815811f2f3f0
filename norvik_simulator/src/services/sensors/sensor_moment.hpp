#pragma once

#include <optional>
#include <string>
#include <vector>
#include <kdl/frames.hpp>

#include "wire/service.hpp"

namespace norvik::simulator {

// One moment of the robot, as much of it as sensors see. A copy, for threads other than the one that steps.
struct SensorMoment {
  double time;  // Seconds since start-up.
  core_proto::Timestamp stamp;
  JointPositions positions;
  PlanarPose base;  // Where it really is, on the map.
  std::vector<Thing> things;

  explicit SensorMoment(const Tick& tick)
      : time(tick.time),
        stamp(tick.stamp),
        positions(tick.state.positions()),
        base(tick.state.base_truth),
        things(tick.state.things) {}

  // On the map.
  KDL::Frame base_frame() const { return {KDL::Rotation::RotZ(base.yaw), KDL::Vector(base.x, base.y, 0.0)}; }

  // Of a link on the map; empty for an unknown link.
  std::optional<KDL::Frame> link_pose(const Kinematics& kinematics, const std::string& link) const {
    const auto in_base = kinematics.link_pose(link, positions);
    if (!in_base) {
      return std::nullopt;
    }
    return base_frame() * *in_base;
  }
};

inline void set_header(core_proto::Header& header, const core_proto::Timestamp& stamp, const std::string& frame,
                       uint32_t seq) {
  *header.mutable_timestamp() = stamp;
  header.set_frame_id(frame);
  header.set_seq(seq);
}

}  // namespace norvik::simulator

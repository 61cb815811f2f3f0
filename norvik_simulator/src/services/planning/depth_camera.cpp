#include "services/planning/depth_camera.hpp"

#include <algorithm>
#include <iterator>

#include "sight/picture.hpp"

namespace norvik::simulator {

namespace {

namespace proto = kelvorn_proto;

// As much of the surroundings as an arm could touch, seen coarsely.
constexpr Pinhole kLens{160, 120, 95.0};  // A view of 1.4 rad.
constexpr double kFarthest = 2.5;         // Metres along the optical axis.
constexpr double kMillimetre = 1e-3;

struct CameraLink {
  proto::CameraType camera;
  const char* link;
};
constexpr CameraLink kCameras[] = {{proto::FRONT_HEAD, "head_left_camera_color_optical_frame"},
                                   {proto::LEFT_ARM, "left_arm_camera_color_optical_frame"},
                                   {proto::RIGHT_ARM, "right_arm_camera_color_optical_frame"}};

std::vector<KDL::Vector> points_of(const cv::Mat& depth) {
  std::vector<KDL::Vector> points;
  for (int row = 0; row < depth.rows; ++row) {
    for (int column = 0; column < depth.cols; ++column) {
      const double z = kMillimetre * depth.at<uint16_t>(row, column);
      if (z > 0.0 && z <= kFarthest) {
        points.emplace_back((column - kLens.centre_x()) / kLens.focal * z, (row - kLens.centre_y()) / kLens.focal * z,
                            z);
      }
    }
  }
  return points;
}

}  // namespace

DepthCloud DepthCamera::take(proto::CameraType camera, double time) {
  const auto* row = std::find_if(std::begin(kCameras), std::end(kCameras),
                                 [camera](const CameraLink& each) { return each.camera == camera; });
  if (row == std::end(kCameras)) {
    return {};
  }
  const WorldState state = environment_.world.state();
  const auto in_base = environment_.world.kinematics().link_pose(row->link, state.positions());
  if (!in_base) {
    return {};
  }
  if (!scene_) {
    scene_ = std::make_unique<Scene>();
  }
  scene_->move_to(time, state.things);
  const PlanarPose& base = state.base_truth;
  const KDL::Frame on_map(KDL::Rotation::RotZ(base.yaw), KDL::Vector(base.x, base.y, 0.0));
  return {row->link, points_of(take_picture(*scene_, kLens, on_map * *in_base, PixelKind::kDepth))};
}

}  // namespace norvik::simulator

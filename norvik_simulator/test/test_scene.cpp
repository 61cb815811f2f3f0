// What the simulated sensors see.

#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/imgcodecs.hpp>

#include "sight/picture.hpp"
#include "sight/scan.hpp"
#include "sight/scene.hpp"

namespace norvik::simulator {
namespace {

constexpr double kWallAhead = 4.95;  // m, inner face
const KDL::Rotation kOptical = KDL::Rotation::RPY(-M_PI / 2.0, 0.0, -M_PI / 2.0);

// At the height of a head, `yaw` to the left, looking down by `pitch`.
KDL::Frame head_view(double yaw, double pitch = 0.0) {
  return {KDL::Rotation::RotZ(yaw) * KDL::Rotation::RotY(pitch) * kOptical, KDL::Vector(0.0, 0.0, 1.5)};
}

int64_t read_stamp(const cv::Mat& picture) {
  uint64_t stamp = 0;
  for (int i = 0; i < 64; ++i) {
    const int square = picture.cols / 64;
    const auto pixel = picture.at<cv::Vec3b>(2, i * square + square / 2);
    stamp = stamp << 1U | (pixel[1] > 127 ? 1U : 0U);
  }
  return static_cast<int64_t>(stamp);
}

TEST(Picture, TellsItsTimeEvenAfterCompression) {
  Scene scene;
  for (const int width : {320, 640}) {
    cv::Mat picture =
        take_picture(scene, make_pinhole(width, width * 3 / 4, 1.4), head_view(0.0, 0.4), PixelKind::kColour);
    const int64_t stamp = 1795400000123456789;
    stamp_picture(picture, stamp);
    std::vector<uint8_t> jpeg;
    cv::imencode(".jpg", picture, jpeg);
    EXPECT_EQ(read_stamp(cv::imdecode(jpeg, cv::IMREAD_COLOR)), stamp) << width;
  }
}

TEST(Picture, HasTheDepthOfTheWallsAndTheFloor) {
  Scene scene;
  const Pinhole camera = make_pinhole(65, 49, 1.0);
  const cv::Mat ahead = take_picture(scene, camera, head_view(0.0), PixelKind::kDepth);
  // Along the optical axis, a wall at a right angle to it is everywhere as far away.
  EXPECT_NEAR(ahead.at<uint16_t>(24, 32), 1000.0 * kWallAhead, 1.0);
  EXPECT_NEAR(ahead.at<uint16_t>(24, 3), 1000.0 * kWallAhead, 1.0);
  const cv::Mat down = take_picture(scene, camera, head_view(0.0, M_PI / 2.0), PixelKind::kDepth);
  EXPECT_NEAR(down.at<uint16_t>(40, 10), 1500.0, 1.0);
}

TEST(Picture, ChangesWithTimeAndView) {
  Scene scene;
  const Pinhole camera = make_pinhole(160, 120, 1.4);
  const auto picture = [&](double time, double yaw) {
    scene.move_to(time);
    return take_picture(scene, camera, head_view(yaw, 0.3), PixelKind::kColour);
  };
  const cv::Mat first = picture(0.0, 0.0);
  EXPECT_EQ(cv::norm(first, picture(0.0, 0.0)), 0.0);
  EXPECT_GT(cv::norm(first, picture(2.0, 0.0)), 100.0);
  EXPECT_GT(cv::norm(first, picture(0.0, 0.2)), 1000.0);
}

TEST(Scan, LiesOnTheSurfaces) {
  Scene scene;
  const KDL::Frame sensor(KDL::Rotation::RotZ(0.7), KDL::Vector(0.3, 0.1, 1.0));
  int floor = 0;
  const auto points = scan_scene(scene, sensor);
  ASSERT_GT(points.size(), 10000U);
  for (const ScanPoint& point : points) {
    const KDL::Vector place = sensor * KDL::Vector(point.x, point.y, point.z);
    ASSERT_GT(place.z(), -1e-3);
    ASSERT_GT(std::min(place.x(), place.y()), -5.01);
    ASSERT_LT(std::max(place.x(), place.y()), 12.41);
    floor += std::abs(place.z()) < 1e-3 ? 1 : 0;
  }
  EXPECT_GT(floor, 1000);
  EXPECT_NEAR(*scene.distance(KDL::Frame(KDL::Vector(0.0, 0.0, 2.0))), kWallAhead, 1e-4);
}

}  // namespace
}  // namespace norvik::simulator

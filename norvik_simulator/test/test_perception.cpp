// What the perception modules tell of a scene, and what faults make of it.

#include <gtest/gtest.h>

#include <cmath>

#include "perception/box_pose.hpp"
#include "perception/detection.hpp"
#include "wire/damage.hpp"

namespace norvik::simulator {
namespace {

using perception_proto::DetectionResult;

// Looks along x of the map from a head's height, a little down.
const KDL::Frame kCamera{KDL::Rotation::RotY(0.3) * KDL::Rotation::RPY(-M_PI / 2.0, 0.0, -M_PI / 2.0),
                         KDL::Vector(0.0, 0.0, 1.4)};
const Pinhole kPinhole = make_pinhole(320, 240, kHorizontalView);

Thing thing_at(double x, double y, double z, const KDL::Vector& size, double yaw = 0.4) {
  return {"thing", size, {}, KDL::Frame(KDL::Rotation::RotZ(yaw), KDL::Vector(x, y, z)), {}};
}

// On and behind the table in front of the robot, and behind its back.
const std::vector<Thing> kThings = {thing_at(-2.0, 0.0, 1.0, {0.1, 0.1, 0.1}), thing_at(1.7, 0.3, 0.9, {0.2, 0.1, 0.3}),
                                    thing_at(2.1, -0.2, 0.85, {0.1, 0.1, 0.2})};

std::shared_ptr<DetectionResult> detected(const StereoModule& module, const Pinhole& pinhole = kPinhole) {
  Scene scene;
  scene.move_to(0.0, kThings);
  std::mt19937 random;
  return detect(scene, pinhole, kCamera, kThings, module, random);
}

// Of the floor between the robot and the table.
double spread_of_floor(const DetectionResult& result) {
  double sum = 0.0;
  int count = 0;
  for (const auto& point : result.point_clouds(0).points()) {
    const KDL::Vector place = kCamera * KDL::Vector(point.x(), point.y(), point.z());
    if (place.x() < 1.7 && std::abs(place.z()) < 0.3) {  // Not the thing above it.
      sum += place.z() * place.z();
      ++count;
    }
  }
  return std::sqrt(sum / count);
}

TEST(Detection, TellsTheThingsInSightWhereTheyAre) {
  for (const StereoModule& module : stereo_modules()) {
    SCOPED_TRACE(module.task_name);
    const auto result = detected(module);
    ASSERT_EQ(result->poses_size(), 2);
    ASSERT_EQ(result->point_clouds_size(), 3);
    for (int i = 0; i < 2; ++i) {
      const Thing& thing = kThings[static_cast<size_t>(i) + 1];
      const KDL::Frame told = kCamera.Inverse() * thing.pose;
      for (int axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(result->poses(i).elements(axis * 4 + 3), told.p(axis), 5 * module.noise);
      }
      for (const auto& point : result->point_clouds(i + 1).points()) {  // On the thing, but for the noise.
        const KDL::Vector own = thing.pose.Inverse() * (kCamera * KDL::Vector(point.x(), point.y(), point.z()));
        for (int axis = 0; axis < 3; ++axis) {
          ASSERT_LT(std::abs(own(axis)), thing.size(axis) / 2 + 25 * module.noise + 1e-4);
        }
      }
      // Its middle lies on it in the mask.
      const int x = static_cast<int>(kPinhole.centre_x() + kPinhole.focal * told.p.x() / told.p.z());
      const int y = static_cast<int>(kPinhole.centre_y() + kPinhole.focal * told.p.y() / told.p.z());
      EXPECT_EQ(result->image().data()[static_cast<size_t>(y * kPinhole.width + x)], i + 1);
    }
  }
}

TEST(Detection, OfTheFoundationModuleIsFinerAndQuieter) {
  const auto light = detected(stereo_modules()[0]);
  const auto foundation = detected(stereo_modules()[1]);
  EXPECT_GT(foundation->point_clouds(0).points_size(), 10 * light->point_clouds(0).points_size());
  EXPECT_LT(spread_of_floor(*foundation) * 4, spread_of_floor(*light));
  EXPECT_GT(stereo_modules()[1].work, stereo_modules()[0].work);
  // Of large pictures, too, a result fits into a message.
  EXPECT_LT(detected(stereo_modules()[1], make_pinhole(1920, 1200, kHorizontalView))->ByteSizeLong(), 10'000'000U);
}

TEST(Poses, KnowABoxByItsShapeAndTheSideItShows) {
  const Thing box = thing_at(2.0, 0.0, 1.0, {0.1, 0.3, 0.2});
  for (const double turn : {0.0, M_PI / 2.0, M_PI}) {  // A box looks the same after half a turn.
    Thing turned = box;
    turned.pose.M = box.pose.M * KDL::Rotation::RotZ(turn);
    const KDL::Frame pose = estimated_pose(turned, kCamera);
    EXPECT_NEAR(pose.M.Inverse().UnitX().Norm(), 1.0, 1e-9);
    EXPECT_NEAR(KDL::dot(pose.M.UnitX() * pose.M.UnitY(), pose.M.UnitZ()), 1.0, 1e-9);  // Right-handed.
    EXPECT_NEAR(std::abs(KDL::dot(kCamera.M * pose.M.UnitX(), turned.pose.M.UnitY())), 1.0, 1e-9);
    EXPECT_NEAR(std::abs(KDL::dot(kCamera.M * pose.M.UnitZ(), turned.pose.M.UnitX())), 1.0, 1e-9);
    EXPECT_LT(KDL::dot(pose.M.UnitX(), pose.p), 0.0);
    EXPECT_LT(KDL::dot(pose.M.UnitZ(), pose.p), 0.0);
  }
}

TEST(Damage, OfResultsIsOfEveryKind) {
  auto result = *detected(stereo_modules()[0]);
  result.mutable_header()->set_frame_id("eye");
  const auto spoilt = [&](TopicFault fault) {
    auto copy = result;
    spoil(copy, fault);
    EXPECT_EQ(copy.header().frame_id(), "eye");
    return copy;
  };
  EXPECT_EQ(spoilt(TopicFault::kEmpty).ByteSizeLong(), 7U);
  EXPECT_EQ(spoilt(TopicFault::kMislabel).image().encoding(), "mislabelled");
  EXPECT_EQ(spoilt(TopicFault::kMislabel).poses(0).rows(), 5U);
  const auto huge = spoilt(TopicFault::kHuge);
  EXPECT_GT(huge.ByteSizeLong(), 7'000'000U);
  EXPECT_LT(huge.ByteSizeLong(), 10'485'100U);
  EXPECT_FALSE(spoils_content(TopicFault::kDelay));
}

}  // namespace
}  // namespace norvik::simulator

// Built with -mavx against the library, which is not: Eigen aligns and frees memory differently then. What the library
// filled is grown, copied, computed with and freed by this program; the allocator aborts where the two disagree.

#include <gtest/gtest.h>

#include <norvik_sdk/norvik_perception.hpp>

#include "wire_perception.hpp"

namespace norvik::test {
namespace {

static_assert(EIGEN_DEFAULT_ALIGN_BYTES == 32, "built without -mavx: proves nothing");

TEST(AlignedTypes, CrossTheLibrarysBorder) {
  if (!__builtin_cpu_supports("avx")) GTEST_SKIP() << "this processor has no AVX";
  perception_proto::DetectionResult message;
  for (int i = 0; i < 1000; ++i) message.add_point_clouds()->add_points()->set_x(static_cast<float>(i));
  for (int i = 0; i < 7; ++i) {
    auto& pose = *message.add_poses();
    pose.set_rows(4);
    pose.set_cols(4);
    for (int k = 0; k < 16; ++k) pose.add_elements(k % 5 == 0 ? 2.0 : 0.0);
  }
  ovimux::OvimuxInit();
  const WirePerception service(message);
  auto& perception = sdk::NorvikPerception::get_instance(sdk::MachineType::K2);
  ASSERT_TRUE(perception.init({LIGHT_STEREO}));
  ASSERT_TRUE(perception.run_once(LIGHT_STEREO) && perception.wait_for_new_result(LIGHT_STEREO, 5.0));

  DetectionResult result;
  for (int round = 0; round < 3; ++round) {  // The record is used again, grown as it is.
    ASSERT_TRUE(perception.get_latest_result(LIGHT_STEREO, result));
    ASSERT_EQ(result.point_clouds.size(), 1000U);
    for (const auto& cloud : result.point_clouds) {
      cloud->push_back({1, 2, 3});
      const auto moved = std::move(cloud->points);
      EXPECT_EQ(moved.size(), 2U);
    }
    result.poses.push_back(result.poses[0] * result.poses[1]);
    for (const auto& pose : result.poses) EXPECT_EQ(reinterpret_cast<uintptr_t>(pose.data()) % 32, 0U);
    EXPECT_EQ(result.poses[7], Eigen::Matrix4f(Eigen::Matrix4f::Identity() * 4));
  }
}

}  // namespace
}  // namespace norvik::test

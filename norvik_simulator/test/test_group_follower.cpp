#include <gtest/gtest.h>

#include <cmath>

#include "norvik/tavrinox_proto/tavrinox_target.pb.h"
#include "world/blend.hpp"
#include "world/group_follower.hpp"

namespace norvik::simulator {
namespace {

constexpr double kStep = 0.01;
constexpr JointLimits kLimits = {-1.0, 1.0, 2.0};

GroupFollower make_follower() { return {{kLimits, kLimits}, {0.0, 0.0}}; }

Motion motion_to(const std::vector<std::pair<double, double>>& durations_and_positions) {
  Motion motion;
  motion.blend = find_blend(tavrinox_proto::TARGET_SAMPLING_LINEAR_INTERPOLATE);
  for (const auto& [duration, position] : durations_and_positions) {
    motion.waypoints.push_back({duration, {position, -position}, {0.0, 0.0}});
  }
  return motion;
}

void run(GroupFollower& follower, double seconds) {
  for (int i = 0; i < std::lround(seconds / kStep); ++i) {
    follower.step(kStep);
  }
}

TEST(GroupFollower, FollowsInTimeAndReportsProgress) {
  struct Row {
    const char* name;
    std::vector<std::pair<double, double>> waypoints;
    double after_s;
    double position;
    bool sampling_finished;
    double final_error;  // Of both joints together.
  };
  const double root2 = std::sqrt(2.0);
  const Row rows[] = {
      {"half way", {{1.0, 0.5}}, 0.5, 0.25, false, 0.25 * root2},
      {"arrived", {{1.0, 0.5}}, 1.01, 0.5, true, 0.0},
      {"second waypoint", {{0.5, 0.5}, {1.0, -0.5}}, 1.0, 0.0, false, 0.5 * root2},
      {"no time at all: at the speed of the joint", {{0.0, 0.8}}, 0.2, 0.4, true, 0.4 * root2},
      {"too fast: sampling ends before the joint is there", {{0.1, 0.9}}, 0.2, 0.38, true, 0.52 * root2},
      {"beyond the range: stays at its end and never arrives", {{0.5, 3.0}}, 5.0, 1.0, true, 2.0 * root2},
      {"nothing to follow", {}, 1.0, 0.0, true, 0.0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    GroupFollower follower = make_follower();
    follower.accept(motion_to(row.waypoints));
    run(follower, row.after_s);
    EXPECT_NEAR(follower.joints()[0].position, row.position, 0.021);
    EXPECT_NEAR(follower.joints()[1].position, -row.position, 0.021);
    EXPECT_EQ(follower.progress().sampling_finished, row.sampling_finished);
    EXPECT_NEAR(follower.final_error(), row.final_error, 0.03);
    EXPECT_EQ(follower.progress().target_finished, row.sampling_finished && row.final_error == 0.0);
  }
}

TEST(GroupFollower, TypesOfTargets) {
  struct Row {
    const char* name;
    bool clear;
    bool in_front;
    double at_1s;
    double at_2s;
    double at_3s;
  };
  // Half a second into a way of one second to 0.5 comes another one, of one second to -0.5.
  const Row rows[] = {
      {"replaces", true, false, 0.25 - 0.375, -0.5, -0.5},
      {"after", false, false, 0.5, -0.5, -0.5},
      {"in front: the rest of the first way takes the half second it had left", false, true, -0.125, 0.5, 0.5},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    GroupFollower follower = make_follower();
    follower.accept(motion_to({{1.0, 0.5}}));
    run(follower, 0.5);
    Motion second = motion_to({{1.0, -0.5}});
    second.clear = row.clear;
    second.in_front = row.in_front;
    follower.accept(second);
    run(follower, 0.5);
    EXPECT_NEAR(follower.joints()[0].position, row.at_1s, 0.021);
    run(follower, 1.01);
    EXPECT_NEAR(follower.joints()[0].position, row.at_2s, 0.021);
    run(follower, 1.0);
    EXPECT_NEAR(follower.joints()[0].position, row.at_3s, 1e-9);
    EXPECT_TRUE(follower.progress().target_finished);
  }
}

TEST(GroupFollower, StopFreezeAndObstacle) {
  GroupFollower follower = make_follower();
  follower.accept(motion_to({{1.0, 0.8}}));
  run(follower, 0.5);
  follower.stop();
  const double stopped_at = follower.joints()[0].position;
  run(follower, 1.0);
  EXPECT_EQ(follower.joints()[0].position, stopped_at);
  EXPECT_FALSE(follower.progress().target_finished);
  EXPECT_NEAR(follower.final_error(), (0.8 - stopped_at) * std::sqrt(2.0), 1e-9);

  follower.set_frozen(0, true);
  follower.accept(motion_to({{0.1, -0.8}}));
  run(follower, 2.0);
  EXPECT_EQ(follower.joints()[0].position, stopped_at);
  EXPECT_NEAR(follower.joints()[1].position, 0.8, 1e-9);
  EXPECT_TRUE(follower.progress().sampling_finished);
  EXPECT_FALSE(follower.progress().target_finished);

  follower.set_frozen(0, false);
  follower.set_obstacle(0, -0.2);
  run(follower, 2.0);
  EXPECT_NEAR(follower.joints()[0].position, -0.2, 1e-9);
}

TEST(GroupFollower, SpeedCapOfAWaypointHoldsUntilArrival) {
  GroupFollower follower = make_follower();
  Motion motion = motion_to({{0.0, 1.0}});
  motion.waypoints[0].speeds = {0.1, 0.0};
  follower.accept(motion);
  run(follower, 1.0);
  EXPECT_NEAR(follower.joints()[0].position, 0.1, 1e-9);
  EXPECT_NEAR(follower.joints()[1].position, -1.0, 1e-9);
}

TEST(GroupFollower, WaitingWaypointsAreBounded) {
  GroupFollower follower = make_follower();
  Motion motion = motion_to({});
  motion.waypoints.assign(GroupFollower::kMaxWaypoints, {1.0, {0.1, 0.1}, {0.0, 0.0}});
  ASSERT_TRUE(follower.has_room_for(motion));
  follower.accept(motion);
  Motion more = motion_to({{1.0, 0.5}});
  EXPECT_TRUE(follower.has_room_for(more));  // It replaces.
  more.clear = false;
  EXPECT_FALSE(follower.has_room_for(more));
}

TEST(Blend, GoesFromZeroToOneWithoutTurningBack) {
  for (int32_t sampling = 0; sampling <= tavrinox_proto::TARGET_SAMPLING_QUINTIC_SPLINES; ++sampling) {
    SCOPED_TRACE(sampling);
    const Blend blend = find_blend(sampling);
    ASSERT_NE(blend, nullptr);
    if (sampling != tavrinox_proto::TARGET_SAMPLING_DIRECT_PASS) {
      EXPECT_NEAR(blend(0.0), 0.0, 1e-12);
      EXPECT_NEAR(blend(0.5), 0.5, 1e-12);
    }
    EXPECT_NEAR(blend(1.0), 1.0, 1e-12);
    for (double t = 0.0; t < 0.99; t += 0.01) {
      EXPECT_LE(blend(t), blend(t + 0.01) + 1e-12);
    }
  }
  EXPECT_EQ(find_blend(tavrinox_proto::TARGET_SAMPLING_B_SPLINES), nullptr);
  EXPECT_EQ(find_blend(-1), nullptr);
}

}  // namespace
}  // namespace norvik::simulator

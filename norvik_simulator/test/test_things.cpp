// Things that are grasped, carried and let go, and who sees them.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "sight/picture.hpp"
#include "sight/robot_body.hpp"
#include "sight/scan.hpp"
#include "world/world.hpp"

namespace norvik::simulator {
namespace {

namespace proto = norvik::tavrinox_proto;

constexpr double kTableTop = 0.75;
const KDL::Vector kUp(0.0, 0.0, 1.0);

// A robot whose left hand is brought to things, by placing its joints and pushing its base.
class Stage {
 public:
  explicit Stage(const std::string& model, uint64_t seed = 0) {
    auto robot = make_robot_model({model, "2.0", "inspire"});
    std::string error;
    auto kinematics = Kinematics::load(*robot, NORVIK_SIMULATOR_MODEL_DIR, error);
    world_ = std::make_unique<World>(std::move(*robot), std::move(*kinematics), seed);
    world_->set_position("torso_lift_joint1", 0.4);  // Of the R5: up.
  }

  World& world() { return *world_; }

  void run(double seconds) {
    for (int i = 0; i < std::lround(seconds / 0.01); ++i) {
      world_->step(0.01);
    }
  }

  // Whole: arrived, or stopped by what is in the way.
  void command(const std::string& group, double position) {
    proto::TavrinoXTarget target;
    auto& trajectory = (*target.mutable_target_group_trajectory_map())[group];
    trajectory.mutable_target_config()->set_target_data(proto::TARGET_DATA_DEFAULT);
    trajectory.mutable_target_config()->set_target_type(proto::TARGET_TYPE_PROVERRIDE);
    trajectory.add_joint_names(group + "_joint1");
    auto& command = *trajectory.add_group_commands();
    command.mutable_time_from_start()->set_sec(1.0);
    command.add_joint_commands()->set_position(position);
    command.mutable_joint_commands(0)->set_effort(30.0);
    ASSERT_TRUE(world_->follow(target).empty());
    run(2.0);
  }

  // The shoulder swings by `pitch`, elbow and wrist turn back, so that the hand points down.
  void bend(double pitch) {
    ASSERT_TRUE(world_->set_position("left_arm_joint1", pitch));
    ASSERT_TRUE(world_->set_position("left_arm_joint4", -2.0 * pitch));
    ASSERT_TRUE(world_->set_position("left_arm_joint6", pitch));
  }

  KDL::Frame on_map(const std::string& link) const {
    const WorldState state = world_->state();
    const PlanarPose& base = state.base_truth;
    return KDL::Frame(KDL::Rotation::RotZ(base.yaw), KDL::Vector(base.x, base.y, 0.0)) *
           *world_->kinematics().link_pose(link, state.positions());
  }

  void push_above(const std::string& link, const KDL::Vector& place) {
    const KDL::Vector way = KDL::Rotation::RotZ(-world_->state().base_truth.yaw) * (place - on_map(link).p);
    world_->push_base({way.x(), way.y(), 0.0});
  }

  Thing thing(const std::string& name) const {
    const auto things = world_->things();
    return *std::find_if(things.begin(), things.end(), [&](const Thing& each) { return each.name == name; });
  }

  GroupState group(const std::string& name) const {
    const WorldState state = world_->state();
    return *std::find_if(state.groups.begin(), state.groups.end(),
                         [&](const GroupState& each) { return each.name == name; });
  }

  // Brings the hand's link down, or up, to a height above the thing's middle.
  void reach(const std::string& link, const std::string& name, double above) {
    const KDL::Vector middle = thing(name).pose.p;
    double low = 0.0;
    double high = 1.15;
    for (int i = 0; i < 40; ++i) {
      const double pitch = (low + high) / 2.0;
      bend(pitch);
      (on_map(link).p.z() < middle.z() + above ? low : high) = pitch;
    }
    push_above(link, middle);
    ASSERT_NEAR(on_map(link).p.z(), middle.z() + above, 1e-3);
  }

 private:
  std::unique_ptr<World> world_;
};

struct Row {
  const char* model;
  const char* hand;
  const char* link;
  const char* thing;
  double above;            // Of the hand's link over the thing's middle.
  double width_mm;         // Of closed fingers.
  const char* dropped_on;  // A thing; null for the floor.
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.model << ' ' << row.hand << ' ' << row.thing; }

class Grasp : public testing::TestWithParam<Row> {};

constexpr const char* kGripper = "left_gripper";
constexpr const char* kCup = "left_suction_cup";
constexpr const char* kFingers = "left_arm_end_effector_link";
constexpr const char* kLip = "left_suction_cup_link";

INSTANTIATE_TEST_SUITE_P(Rows, Grasp,
                         testing::Values(Row{"k2", kGripper, kFingers, "red_box", 0.08, 70.0, nullptr},
                                         Row{"k2", kGripper, kFingers, "bottle", 0.1, 60.0, "blue_box"},
                                         Row{"r5", kGripper, kFingers, "red_box", 0.05, 70.0, "book"},
                                         Row{"r5", kGripper, kFingers, "green_box", 0.06, 80.0, nullptr},
                                         Row{"k2", kCup, kLip, "red_box", 0.103, 0.0, "blue_box"}));

// A hand that takes the thing presses: fingers at its width with effort, a cup at its vacuum.
void expect_hold(const Stage& stage, const Row& row) {
  const GroupState hand = stage.group(row.hand);
  EXPECT_EQ(stage.thing(row.thing).held_by, row.hand);
  if (row.width_mm > 0.0) {
    EXPECT_NEAR(hand.joints[0].position, row.width_mm, 1e-6);
    EXPECT_EQ(hand.effort, 30.0);
  } else {
    EXPECT_EQ(hand.suction, SuctionState::kHolding);
  }
}

TEST_P(Grasp, IsHeldCarriedAndFallsWhenReleased) {
  const Row& row = GetParam();
  const bool sucks = row.width_mm == 0.0;
  Stage stage(row.model);
  const double open = sucks ? 0.0 : 100.0;
  const double closed = sucks ? 1.0 : 0.0;
  stage.command(row.hand, open);
  // In the air nothing is held.
  stage.command(row.hand, closed);
  EXPECT_EQ(stage.group(row.hand).effort, 0.0);
  EXPECT_NE(stage.group(row.hand).suction, SuctionState::kHolding);
  stage.command(row.hand, open);

  stage.reach(row.link, row.thing, row.above);
  const KDL::Frame stood = stage.thing(row.thing).pose;
  stage.command(row.hand, closed);
  expect_hold(stage, row);
  EXPECT_LT((stage.thing(row.thing).pose.p - stood.p).Norm(), 1e-3);

  // It moves rigidly with the hand, wherever that goes.
  const KDL::Frame in_hand = stage.on_map(row.link).Inverse() * stage.thing(row.thing).pose;
  stage.bend(1.1);
  stage.world().push_base({-0.7, 0.3, 0.8});
  stage.run(0.05);
  expect_hold(stage, row);
  const KDL::Frame carried = stage.on_map(row.link) * in_hand;
  EXPECT_TRUE(KDL::Equal(stage.thing(row.thing).pose, carried, 1e-6));

  // Let go, it comes to stand on what is below.
  double support = 0.0;
  if (row.dropped_on != nullptr) {
    ASSERT_TRUE(stage.world().place_thing(row.dropped_on, carried.p.x(), carried.p.y(), 0.2, 0.3));
    stage.run(1.0);
    support = stage.thing(row.dropped_on).size.z();
  }
  stage.command(row.hand, open);
  const Thing dropped = stage.thing(row.thing);
  EXPECT_EQ(dropped.held_by, "");
  EXPECT_NEAR(dropped.pose.p.z(), support + dropped.size.z() / 2.0, 1e-6);
  EXPECT_NEAR((carried.p - dropped.pose.p).x(), 0.0, 1e-6);
  EXPECT_NEAR(dropped.pose.M.UnitZ().z(), 1.0, 1e-6);
  EXPECT_EQ(stage.group(row.hand).effort, 0.0);
  EXPECT_EQ(stage.group(row.hand).suction, SuctionState::kOff);
}

TEST(Things, TooWideForTheFingersOrBesideThemIsNotHeld) {
  Stage stage("k2");
  for (const auto& [name, beside] : {std::pair("blue_box", 0.0), std::pair("red_box", 0.08)}) {
    stage.command(kGripper, 100.0);
    stage.reach(kFingers, name, 0.08);
    stage.world().push_base({0.0, beside, 0.0});
    stage.command(kGripper, 0.0);
    EXPECT_NEAR(stage.group(kGripper).joints[0].position, 0.0, 1e-6) << name;
    EXPECT_EQ(stage.thing(name).held_by, "");
  }
}

TEST(Things, StandWhereTheyArePlaced) {
  Stage stage("k2");
  struct Place {
    double x, y;
    std::optional<double> z;
    double height;  // Of what carries it.
  };
  const Place places[] = {
      {1.6, 10.4, {}, kTableTop}, {9.0, -2.3, 1.5, kTableTop}, {0.0, -4.0, {}, 0.0}, {2.4, 0.1, {}, kTableTop + 0.3}};
  for (const Place& place : places) {
    ASSERT_TRUE(stage.world().place_thing("tea_box", place.x, place.y, place.z, 0.5));
    stage.run(1.0);
    EXPECT_NEAR(stage.thing("tea_box").pose.p.z(), place.height + 0.07, 1e-6);
  }
  for (const double bad : {100.1, std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_FALSE(stage.world().place_thing("tea_box", bad, 0.0, {}, 0.0));
    EXPECT_FALSE(stage.world().place_thing("tea_box", 0.0, 0.0, bad, 0.0));
  }
  EXPECT_FALSE(stage.world().place_thing("teapot", 0.0, 0.0, {}, 0.0));
  // What stands on another thing falls when that is taken away.
  ASSERT_TRUE(stage.world().place_thing("blue_box", 3.5, 0.0, {}, 0.0));
  stage.run(1.0);
  EXPECT_NEAR(stage.thing("tea_box").pose.p.z(), kTableTop + 0.07, 1e-6);
}

TEST(Things, ASeedMovesThemAlwaysInTheSameWay) {
  const auto at = [](uint64_t seed) { return Stage("k2", seed).world().things(); };
  const auto first = at(0), moved = at(7), again = at(7), other = at(8);
  for (size_t i = 0; i < first.size(); ++i) {
    EXPECT_TRUE(KDL::Equal(moved[i].pose, again[i].pose, 1e-12));
    EXPECT_FALSE(KDL::Equal(moved[i].pose, other[i].pose, 1e-6));
    EXPECT_LT((moved[i].pose.p - first[i].pose.p).Norm(), 0.05);
  }
}

TEST(Sight, CameraSeesAHeldThingWhereTheHandIs) {
  for (const char* model : {"k2", "r5"}) {
    SCOPED_TRACE(model);
    Stage stage(model);
    stage.command(kGripper, 100.0);
    stage.reach(kFingers, "red_box", 0.03);
    stage.command(kGripper, 0.0);
    stage.bend(1.0);
    stage.world().push_base({-1.0, 0.0, 0.0});
    stage.run(0.05);
    const Thing held = stage.thing("red_box");
    ASSERT_EQ(held.held_by, kGripper);

    const WorldState state = stage.world().state();
    const RobotBody body(stage.world().robot(), stage.world().kinematics());
    Scene scene(body.parts());
    scene.move_to(0.0, state.things);
    scene.move_body(body.poses(stage.on_map("base_link"), state.positions()));

    // Half a metre before it, at its height.
    const KDL::Frame camera(KDL::Rotation::RotZ(M_PI) * KDL::Rotation::RPY(-M_PI / 2.0, 0.0, -M_PI / 2.0),
                            held.pose.p + KDL::Vector(0.5, 0.0, 0.0));
    const auto span = span_inside(held.pose, held.size, camera.p, camera.M.UnitZ());
    ASSERT_TRUE(span);
    const Pinhole lens = make_pinhole(161, 121, 1.0);
    EXPECT_NEAR(take_picture(scene, lens, camera, PixelKind::kDepth).at<uint16_t>(60, 80), 1000.0 * span->from, 1.0);
    const auto red = take_picture(scene, lens, camera, PixelKind::kColour).at<cv::Vec3b>(60, 80);
    EXPECT_GT(red[2], 2 * red[1]);
  }
}

TEST(Sight, TheBodyIsSeenFromOutsideOnlyAndWhereItWasMoved) {
  for (const BodyShape shape : {BodyShape::kBox, BodyShape::kCylinder, BodyShape::kSphere}) {
    BodyPart part{"link", KDL::Frame::Identity(), shape, {0.2, 0.2, 0.2}, {255, 0, 0}};
    Scene scene({part});
    for (const double x : {0.0, 0.5}) {
      scene.move_to(0.0);
      scene.move_body({KDL::Frame(KDL::Vector(x, 0.0, 2.3))});
      const double half = shape == BodyShape::kBox ? 0.1 : 0.2;
      // The wall is 4.95 m ahead of the origin.
      EXPECT_NEAR(*scene.distance(KDL::Frame(KDL::Vector(x - 1.0, 0.0, 2.3))), 1.0 - half, 0.01);
      EXPECT_NEAR(*scene.distance(KDL::Frame(KDL::Vector(x, 0.0, 2.3))), 4.95 - x, 1e-4);
    }
  }
}

TEST(Sight, InfraredShowsAGrainThatStaysOnTheSurface) {
  Scene scene;
  const Pinhole lens = make_pinhole(320, 240, 1.2);
  const auto picture = [&](double shift) {
    const KDL::Frame eye(KDL::Rotation::RPY(M_PI, 0.0, 0.0), KDL::Vector(0.5 + shift, -2.0, 1.5));
    return take_picture(scene, lens, eye, PixelKind::kInfrared);
  };
  const cv::Mat left = picture(0.0);
  cv::Scalar mean, deviation;
  cv::meanStdDev(left, mean, deviation);
  EXPECT_GT(deviation[0], 10.0);
  // A second eye sees the same grain, moved by the disparity alone.
  const int disparity = 20;
  const cv::Mat right = picture(disparity * 1.5 / lens.focal);
  const cv::Rect shared(disparity, 0, lens.width - disparity, lens.height);
  const double moved = cv::norm(left(shared), right(shared - cv::Point(disparity, 0)), cv::NORM_L1) / shared.area();
  EXPECT_LT(moved, deviation[0] / 3.0);
}

}  // namespace
}  // namespace norvik::simulator

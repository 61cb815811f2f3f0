#include <gtest/gtest.h>
#include <urdf_model/model.h>

#include <chrono>
#include <cmath>
#include <random>

#include "brute_force.hpp"
#include "model/urdf_tree.hpp"
#include "planning/planner.hpp"

namespace norvik::simulator::planning {
namespace {

using Clock = std::chrono::steady_clock;

struct Robot {
  RobotModel model;
  Planner planner;
};

// One of each model for all tests: planners are immutable.
const Robot& robot(const std::string& name) {
  static const auto make = [](const std::string& model) {
    RobotOptions options;
    options.model = model;
    auto robot_model = make_robot_model(options);
    std::string error;
    auto planner = Planner::load(*robot_model, NORVIK_SIMULATOR_MODEL_DIR, error);
    if (!planner) {
      throw std::runtime_error(error);
    }
    return Robot{std::move(*robot_model), std::move(*planner)};
  };
  static const Robot k2 = make("k2");
  static const Robot r5 = make("r5");
  return name == "k2" ? k2 : r5;
}

RobotState home(const Planner& planner) {
  RobotState state{Joints(planner.model().dof()), KDL::Frame(KDL::Rotation::RotZ(0.4), KDL::Vector(1.0, -2.0, 0.0))};
  for (const Chain& chain : planner.model().chains()) {
    const double turn = chain.name == "left_arm" ? 1.0 : -1.0;
    const std::map<std::string, std::vector<double>> postures = {{"torso", {0.3}},
                                                                 {"left_arm", {-0.3, -0.4, 0.0, -1.2, 0.0, 0.0, 0.0}},
                                                                 {"right_arm", {-0.3, -0.4, 0.0, -1.2, 0.0, 0.0, 0.0}}};
    const auto posture = postures.find(chain.name);
    for (size_t i = 0; posture != postures.end() && i < chain.indices.size(); ++i) {
      state.joints[chain.indices[i]] = posture->second[i] * (chain.name == "torso" ? 1.0 : turn);
    }
  }
  return state;
}

// Whole body with the chain's joints anywhere inside their limits, the others at home.
RobotState anywhere(const Planner& planner, const std::vector<std::string>& chains, std::mt19937& random) {
  RobotState state = home(planner);
  for (const size_t i : planner.model().joints_of(chains)) {
    const ChainJoint& joint = planner.model().joint(i);
    const double margin = 0.05 * (joint.upper - joint.lower);
    state.joints[i] = std::uniform_real_distribution<>(joint.lower + margin, joint.upper - margin)(random);
  }
  return state;
}

RobotState anywhere_free(const Planner& planner, const std::string& chain, const Scene& scene, std::mt19937& random) {
  RobotState state = anywhere(planner, {chain}, random);
  while (planner.check_collision(state, scene, {})) {
    state = anywhere(planner, {chain}, random);
  }
  return state;
}

KDL::Frame pose_of(const Planner& planner, const std::string& chain, const RobotState& state,
                   const FrameRef& frame = FrameRef::base()) {
  return planner.forward_kinematics(planner.model().find_chain(chain)->end_effector_link, frame, state).pose;
}

std::vector<double> part_of(const Planner& planner, const std::string& chain, const Joints& joints) {
  const auto& indices = planner.model().find_chain(chain)->indices;
  return {joints.begin() + static_cast<std::ptrdiff_t>(indices.front()),
          joints.begin() + static_cast<std::ptrdiff_t>(indices.back()) + 1};
}

ObjectSpec box(const std::string& name, const KDL::Frame& pose, const KDL::Vector& size,
               const FrameRef& frame = FrameRef::base()) {
  ObjectSpec spec;
  spec.name = name;
  spec.parent = frame;
  spec.pose = pose;
  spec.shape = Box{size};
  return spec;
}

// Eight boxes around the robot that leave its home posture free.
Scene eight_boxes(const Planner& planner) {
  Scene scene;
  const RobotState state = home(planner);
  std::mt19937 random(8);
  std::uniform_real_distribution<> across(-0.8, 0.8);
  std::uniform_real_distribution<> up(0.4, 1.6);
  std::uniform_real_distribution<> size(0.1, 0.25);
  while (scene.obstacles().size() < 8) {
    const std::string name = "box" + std::to_string(scene.obstacles().size());
    const KDL::Vector edges(size(random), size(random), size(random));
    const KDL::Frame pose(KDL::Rotation::RotZ(across(random)), KDL::Vector(across(random), across(random), up(random)));
    Scene more = scene;
    EXPECT_TRUE(more.add_obstacle(planner.model(), box(name, pose, edges), state));
    if (!planner.check_collision(state, more, {})) {
      scene = more;
    }
  }
  return scene;
}

struct ArmRow {
  const char* robot;
  const char* chain;
  Actuate actuate;
};
std::ostream& operator<<(std::ostream& out, const ArmRow& row) { return out << row.robot << " " << row.chain; }

class Arm : public testing::TestWithParam<ArmRow> {
 protected:
  const Planner& planner_ = robot(GetParam().robot).planner;
  const std::string chain_ = GetParam().chain;
  std::vector<std::string> moved() const {
    std::vector<std::string> names;
    for (const Chain* chain : planner_.model().actuated_chains(chain_, GetParam().actuate)) {
      names.push_back(chain->name);
    }
    return names;
  }
};

TEST_P(Arm, ComesToThePoseThatItsJointsHad) {
  std::mt19937 random(1);
  for (int n = 0; n < 20; ++n) {
    const RobotState there = anywhere(planner_, moved(), random);
    IkRequest request;
    request.start = home(planner_);
    request.chain = chain_;
    request.actuate = GetParam().actuate;
    request.target.frame = FrameRef::world();
    request.target.pose = pose_of(planner_, chain_, there, FrameRef::world());
    request.check_collision = false;
    const IkResult result = planner_.inverse_kinematics(request, {}, {});
    ASSERT_TRUE(result.outcome) << n << ": " << result.outcome.description;
    const KDL::Frame reached = pose_of(planner_, chain_, {result.joints, there.base}, FrameRef::world());
    EXPECT_TRUE(KDL::Equal(reached, request.target.pose, 2e-4)) << n;
    EXPECT_TRUE(planner_.model().check_limits(result.joints, planner_.model().joints_of(moved())));
    EXPECT_EQ(result.moved_chains, moved());
  }
}

TEST_P(Arm, JacobianIsTheChangeOfThePose) {
  std::mt19937 random(2);
  constexpr double kStep = 1e-6;
  const Chain& chain = *planner_.model().find_chain(chain_);
  for (const FrameRef& frame : {FrameRef::world(), FrameRef::base()}) {
    const RobotState state = anywhere(planner_, {chain_}, random);
    const Jacobian jacobian = planner_.jacobian(chain.end_effector_link, frame, state);
    ASSERT_EQ(jacobian.rows, 6u);
    ASSERT_EQ(jacobian.cols, chain.indices.size());
    for (size_t column = 0; column < jacobian.cols; ++column) {
      RobotState moved = state;
      moved.joints[chain.indices[column]] += kStep;
      const KDL::Twist change =
          KDL::diff(pose_of(planner_, chain_, state, frame), pose_of(planner_, chain_, moved, frame), kStep);
      for (size_t row = 0; row < 6; ++row) {
        EXPECT_NEAR(jacobian.data[row * jacobian.cols + column], change(static_cast<int>(row)), 1e-5);
      }
    }
  }
}

// Every box of the arm against every obstacle, poses from the tree that the rest of the simulator uses.
bool touches_a_box(const Robot& robot, const Kinematics& kinematics, const urdf::ModelInterface& urdf,
                   const Joints& joints, const KDL::Frame& base, const Scene& scene) {
  JointPositions positions;
  for (size_t i = 0; i < joints.size(); ++i) {
    positions[robot.planner.model().joint(i).name] = joints[i];
  }
  for (const auto& [name, link] : urdf.links_) {
    const auto pose = kinematics.link_pose(name, positions);
    for (const auto& collision : link->collision_array) {
      const urdf::Pose& origin = collision->origin;
      const KDL::Frame place(
          KDL::Rotation::Quaternion(origin.rotation.x, origin.rotation.y, origin.rotation.z, origin.rotation.w),
          KDL::Vector(origin.position.x, origin.position.y, origin.position.z));
      KDL::Vector size;  // Of a box inside of the body.
      if (collision->geometry->type == urdf::Geometry::BOX) {
        const auto& dim = static_cast<const urdf::Box&>(*collision->geometry).dim;
        size = {dim.x, dim.y, dim.z};
      } else if (collision->geometry->type == urdf::Geometry::CYLINDER) {
        const auto& cylinder = static_cast<const urdf::Cylinder&>(*collision->geometry);
        size = {cylinder.radius * std::sqrt(2.0), cylinder.radius * std::sqrt(2.0), cylinder.length};
      } else {
        const double edge = 2.0 * static_cast<const urdf::Sphere&>(*collision->geometry).radius / std::sqrt(3.0);
        size = {edge, edge, edge};
      }
      for (const auto& [obstacle, object] : scene.obstacles()) {
        const TestBox body = box_at(base * *pose * place, size);
        const TestBox other = box_at(object->pose, std::get<Box>(object->spec.shape).size);
        if (overlap(body, other, 0.003)) {
          return true;
        }
      }
    }
  }
  return false;
}

TEST_P(Arm, FindsWaysAmongBoxesThatTouchNothingAndKeepTheLimits) {
  if (GetParam().actuate != Actuate::kChainOnly) {
    GTEST_SKIP();
  }
  std::string error;
  const auto kinematics = Kinematics::load(robot(GetParam().robot).model, NORVIK_SIMULATOR_MODEL_DIR, error);
  ASSERT_TRUE(kinematics) << error;
  const auto urdf =
      read_urdf(std::string(NORVIK_SIMULATOR_MODEL_DIR) + "/" + robot(GetParam().robot).model.urdf_file, error);
  const Scene scene = eight_boxes(planner_);
  std::mt19937 random(3);
  Settings patient;  // How soon it finds them is the benchmark's question.
  patient.sampler.max_planning_time = 20.0;
  constexpr int kPlans = 10;
  int found = 0;
  for (int n = 0; n < kPlans; ++n) {
    PlanRequest request;
    request.start = anywhere_free(planner_, chain_, scene, random);
    const RobotState goal = anywhere_free(planner_, chain_, scene, random);
    PoseTarget target;
    target.frame = FrameRef::base();
    target.pose = pose_of(planner_, chain_, goal);
    request.targets = {{chain_, {target}}};
    const PlanResult result = planner_.plan(request, scene, patient);
    if (!result.outcome) {
      continue;
    }
    ++found;
    EXPECT_TRUE(KDL::Equal(pose_of(planner_, chain_, {result.path.points.back(), goal.base}), target.pose, 2e-4));
    for (size_t i = 1; i < result.path.points.size(); ++i) {
      ASSERT_GT(result.path.times[i], result.path.times[i - 1]);
      for (size_t joint = 0; joint < request.start.joints.size(); ++joint) {
        const ChainJoint& limits = planner_.model().joint(joint);
        const double q = result.path.points[i][joint];
        ASSERT_TRUE(q >= limits.lower - 1e-6 && q <= limits.upper + 1e-6);
        ASSERT_LE(std::abs(q - result.path.points[i - 1][joint]),
                  limits.speed * (result.path.times[i] - result.path.times[i - 1]) * 1.001);
      }
      ASSERT_FALSE(touches_a_box(robot(GetParam().robot), *kinematics, *urdf, result.path.points[i], goal.base, scene));
    }
  }
  EXPECT_EQ(found, kPlans);
}

TEST_P(Arm, LinesAreStraight) {
  const RobotState start = home(planner_);
  PoseTarget target;
  target.frame = FrameRef::base();
  target.relative = true;
  target.pose = KDL::Frame(KDL::Rotation::RotY(0.2), KDL::Vector(0.05, 0.02, 0.1));
  PlanRequest request{start, {{chain_, {target}}}, GetParam().actuate, true};
  const PlanResult result = planner_.plan_line(request, {}, {});
  ASSERT_TRUE(result.outcome) << result.outcome.description;
  const KDL::Frame from = pose_of(planner_, chain_, start);
  const KDL::Frame to(target.pose.M * from.M, from.p + target.pose.p);
  EXPECT_TRUE(KDL::Equal(pose_of(planner_, chain_, {result.path.points.back(), start.base}), to, 1e-3));
  const KDL::Vector way = to.p - from.p;
  for (const Joints& joints : resample(result.path, 500).points) {
    const KDL::Frame pose = pose_of(planner_, chain_, {joints, start.base});
    const double part = KDL::dot(pose.p - from.p, way) / KDL::dot(way, way);
    EXPECT_LT((from.p + part * way - pose.p).Norm(), 0.001);
    EXPECT_LT(KDL::diff(pose.M, KDL::Rotation::RotY(part * 0.2) * from.M).Norm(), 0.01);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Arms, Arm,
    testing::Values(ArmRow{"k2", "left_arm", Actuate::kChainOnly}, ArmRow{"k2", "right_arm", Actuate::kChainOnly},
                    ArmRow{"r5", "left_arm", Actuate::kChainOnly}, ArmRow{"r5", "right_arm", Actuate::kChainOnly},
                    ArmRow{"k2", "left_arm", Actuate::kWithLeg}, ArmRow{"r5", "right_arm", Actuate::kWithTorso}));

TEST(Postures, ThatProgramsUseAreFreeAndWithinTheLimits) {
  const std::vector<double> left_k2 = {2.0, -1.55, -0.55, -1.7, 0, -0.8, 0};
  const std::vector<double> left_r5 = {-0.47, -0.94, -0.54, -1.92, 0.2, 0, 0};
  const auto mirrored = [](std::vector<double> joints) {
    for (double& q : joints) {
      q = -q;
    }
    return joints;
  };
  const auto joined = [](std::initializer_list<std::vector<double>> parts) {
    Joints joints;
    for (const auto& part : parts) {
      joints.insert(joints.end(), part.begin(), part.end());
    }
    return joints;
  };
  const std::pair<const char*, Joints> rows[] = {
      {"k2", joined({{0.3, 1.2, 0.85, 0, 0}, {0, 0}, left_k2, mirrored(left_k2)})},
      {"r5", joined({{0.65}, {0, -0.26}, left_r5, mirrored(left_r5)})},
      {"k2", home(robot("k2").planner).joints},
      {"r5", home(robot("r5").planner).joints},
      {"k2", Joints(21)},
      {"r5", Joints(17)}};
  for (const auto& [name, joints] : rows) {
    const Planner& planner = robot(name).planner;
    const auto contact = planner.check_collision({joints, {}}, {}, {});
    EXPECT_FALSE(contact) << name << ": " << contact->first << " " << contact->second;
    const Outcome limits = planner.model().check_limits(
        joints, planner.model().joints_of({"leg", "torso", "head", "left_arm", "right_arm"}));
    EXPECT_TRUE(limits) << limits.description;
  }
}

TEST(SceneOfThePlanner, KnowsShapesMarginsToolsAndAttachedObjects) {
  const Planner& planner = robot("k2").planner;
  const RobotState state = home(planner);
  const KDL::Vector hand = pose_of(planner, "left_arm", state).p;
  const KDL::Frame ahead(hand + KDL::Vector(0.25, 0, 0));
  const auto touched = [&](const Scene& scene) { return planner.check_collision(state, scene, {}).has_value(); };
  const auto cloud = make_point_cloud({ahead.p, hand}, 0.02);
  ASSERT_TRUE(cloud.outcome);
  struct Row {
    const char* what;
    Shape shape;
    KDL::Frame pose;
    double margin;
    bool touches;
  };
  const Row rows[] = {{"far box", Box{{0.1, 0.1, 0.1}}, ahead, 0.0, false},
                      {"box with margin", Box{{0.1, 0.1, 0.1}}, ahead, 0.2, true},
                      {"sphere", Sphere{0.05}, KDL::Frame(hand), 0.0, true},
                      {"cylinder", Cylinder{0.02, 0.5}, KDL::Frame(hand), 0.0, true},
                      {"cloud", cloud.shape, KDL::Frame(), 0.0, true},
                      {"cloud elsewhere", cloud.shape, KDL::Frame(KDL::Vector(2, 2, 0)), 0.0, false}};
  for (const Row& row : rows) {
    Scene scene;
    ObjectSpec spec = box("it", row.pose, {1, 1, 1});
    spec.shape = row.shape;
    spec.safe_margin = row.margin;
    ASSERT_TRUE(scene.add_obstacle(planner.model(), spec, state)) << row.what;
    EXPECT_EQ(touched(scene), row.touches) << row.what;
    EXPECT_TRUE(scene.remove_obstacle("it"));
    EXPECT_FALSE(scene.remove_obstacle("it"));
    EXPECT_FALSE(touched(scene)) << row.what;
  }

  // A bar in the hand does not reach the box ahead, and its neighbours in the hand do not count.
  Scene scene;
  ASSERT_TRUE(scene.add_obstacle(planner.model(), box("ahead", ahead, {0.1, 0.1, 0.1}), state));
  ObjectSpec bar = box("bar", KDL::Frame(KDL::Vector(0, 0, -0.05)), {0.04, 0.04, 0.1}, FrameRef::chain("left_arm"));
  ASSERT_TRUE(scene.attach_object(planner.model(), bar, state));
  const auto beside = planner.check_collision(state, scene, {});
  EXPECT_FALSE(beside) << beside->first << " " << beside->second;
  RobotState later = state;
  later.base.p += KDL::Vector(5, 0, 0);
  EXPECT_FALSE(planner.check_collision(later, scene, {}));
  bar.shape = Box{{0.8, 0.8, 0.4}};
  ASSERT_TRUE(scene.attach_object(planner.model(), bar, state));
  const auto contact = planner.check_collision(state, scene, {});
  ASSERT_TRUE(contact);
  EXPECT_TRUE(contact->first == "bar" || contact->second == "bar");
  EXPECT_TRUE(scene.detach_object("bar"));

  EXPECT_TRUE(scene.attach_tool(planner.model(), "left_arm", "HX407"));
  EXPECT_NEAR(scene.tool_tip("left_arm").p.z(), -0.18, 1e-9);
  EXPECT_FALSE(scene.attach_tool(planner.model(), "left_arm", "hammer"));
  EXPECT_FALSE(scene.attach_tool(planner.model(), "head", "HX407"));
  EXPECT_TRUE(scene.detach_tool(planner.model(), "left_arm"));
  EXPECT_FALSE(scene.detach_tool(planner.model(), "left_arm"));
}

TEST(Refusals, NameTheirReason) {
  const Planner& planner = robot("k2").planner;
  const RobotState start = home(planner);
  const std::vector<double> free = part_of(planner, "left_arm", start.joints);
  const auto with = [&](size_t joint, double q) {
    std::vector<double> joints = free;
    joints[joint] = q;
    return joints;
  };
  const auto pose = [](const KDL::Vector& p) { return PoseTarget{KDL::Frame(p), FrameRef::base()}; };
  struct Row {
    const char* what;
    PlanRequest request;
    Reason reason;
    const char* text;
  };
  RobotState short_start = start;
  short_start.joints.pop_back();
  const Row rows[] = {
      {"no target", {start, {}}, Reason::kInvalidInput, "no target"},
      {"chain", {start, {{"tail", {free}}}}, Reason::kInvalidInput, "tail"},
      {"size", {start, {{"left_arm", {std::vector<double>(6)}}}}, Reason::kInvalidInput, "7 joints"},
      {"no number", {start, {{"left_arm", {with(2, NAN)}}}}, Reason::kInvalidInput, "no number"},
      {"start", {short_start, {{"left_arm", {free}}}}, Reason::kInvalidInput, "21 joints"},
      {"twice", {start, {{"left_arm", {free}}, {"left_arm", {free}}}}, Reason::kInvalidInput, "twice"},
      {"torso", {start, {{"left_arm", {pose({0.3, 0.3, 1})}}}, Actuate::kWithTorso}, Reason::kInvalidInput, "help"},
      {"frame", {start, {{"left_arm", {PoseTarget{{}, FrameRef::link("nowhere")}}}}}, Reason::kInvalidInput, "nowhere"},
      {"limit", {start, {{"left_arm", {with(3, 1.0)}}}}, Reason::kOutsideLimits, "left_arm_joint4"},
      {"too far", {start, {{"left_arm", {pose({5, 0, 1})}}}}, Reason::kUnreachable, "left_arm"},
      {"itself", {start, {{"left_arm", {with(1, 0.9)}}}}, Reason::kCollision, "collides with"},
  };
  Settings settings;
  settings.ik.col_aware_ik_timeout = 0.2;
  for (const Row& row : rows) {
    for (const auto plan : {&Planner::plan, &Planner::plan_waypoints}) {
      const PlanResult result = (planner.*plan)(row.request, {}, settings, {});
      EXPECT_EQ(result.outcome.reason, row.reason) << row.what << ": " << result.outcome.description;
      EXPECT_NE(result.outcome.description.find(row.text), std::string::npos) << result.outcome.description;
      EXPECT_TRUE(result.path.points.empty());
    }
  }
}

TEST(Waypoints, AreAllPassedByBothArmsAtOnce) {
  const Planner& planner = robot("r5").planner;
  const RobotState start = home(planner);
  const auto arm = [&](const std::string& chain, double elbow) {
    auto joints = part_of(planner, chain, start.joints);
    joints[3] += chain == "left_arm" ? elbow : -elbow;
    return joints;
  };
  PlanRequest request{start,
                      {{"left_arm", {arm("left_arm", -0.3), arm("left_arm", 0.2)}},
                       {"right_arm", {arm("right_arm", -0.3), arm("right_arm", 0.2)}}}};
  Settings settings;
  settings.timing.way_point_plan_expected_time = 2.0;
  const PlanResult result = planner.plan_waypoints(request, {}, settings);
  ASSERT_TRUE(result.outcome) << result.outcome.description;
  EXPECT_GE(result.path.times.back(), 4.0 - 1e-9);
  for (const ChainGoals& target : request.targets) {
    for (const Goal& goal : target.goals) {
      EXPECT_TRUE(std::any_of(result.path.points.begin(), result.path.points.end(), [&](const Joints& joints) {
        return part_of(planner, target.chain, joints) == std::get<std::vector<double>>(goal);
      }));
    }
  }
}

TEST(Planning, EndsWhenItIsInterruptedOrOutOfTime) {
  const Planner& planner = robot("k2").planner;
  const RobotState start = home(planner);
  Scene scene;  // A box around the hand's goal, hollow: the goal is free, the way is not.
  RobotState goal = start;
  goal.joints[planner.model().find_chain("left_arm")->indices[0]] -= 1.2;
  const KDL::Vector hand = pose_of(planner, "left_arm", goal).p;
  for (int axis = 0; axis < 3; ++axis) {
    for (const double side : {-1.0, 1.0}) {
      KDL::Vector shift;
      shift(axis) = 0.35 * side;
      KDL::Vector size(0.8, 0.8, 0.8);
      size(axis) = 0.02;
      const std::string name = std::to_string(axis) + (side > 0 ? "+" : "-");
      ObjectSpec wall = box(name, KDL::Frame(hand + shift), size);
      ASSERT_TRUE(scene.add_obstacle(planner.model(), wall, start));
      if (planner.check_collision(goal, scene, {}) || planner.check_collision(start, scene, {})) {
        scene.remove_obstacle(name);
      }
    }
  }
  Settings settings;
  settings.sampler.max_planning_time = 0.5;
  PlanRequest request{start, {{"left_arm", {part_of(planner, "left_arm", goal.joints)}}}};
  const auto begin = Clock::now();
  const PlanResult timed = planner.plan(request, scene, settings);
  EXPECT_LT(Clock::now() - begin, std::chrono::seconds(2));
  const PlanResult interrupted = planner.plan(request, scene, settings, [] { return true; });
  if (!timed.outcome) {
    EXPECT_EQ(timed.outcome.reason, Reason::kNoPath);
    EXPECT_EQ(interrupted.outcome.reason, Reason::kInterrupted);
  }
}

}  // namespace
}  // namespace norvik::simulator::planning

// The navigation, driven as fast as the machine can.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <functional>
#include <random>
#include <nlohmann/json.hpp>

#include "navigation/map/map_file.hpp"
#include "navigation/navigation.hpp"
#include "sight/scene.hpp"
#include "support/temp_dir.hpp"

namespace norvik::simulator {
namespace {

constexpr double kStep = 0.01;  // s

std::unique_ptr<World> make_world(const std::string& model) {
  auto robot = make_robot_model({model, "2.0", "inspire"});
  std::string error;
  auto kinematics = Kinematics::load(*robot, NORVIK_SIMULATOR_MODEL_DIR, error);
  EXPECT_TRUE(kinematics) << error;
  return std::make_unique<World>(std::move(*robot), std::move(*kinematics));
}

// A robot in its surroundings, and what it did.
class Drive {
 public:
  explicit Drive(const std::string& model = "k2") : world(make_world(model)), navigation(*world) {}

  Report run(
      const Task& task, double seconds = 120.0, const std::function<void()>& each_step = [] {}) {
    const std::string refusal = navigation.start(task);
    if (!refusal.empty()) {
      return {task.id, TaskStatus::kUnknown, refusal};
    }
    return wait(seconds, each_step);
  }

  // Until the task has ended and the base stands.
  Report wait(
      double seconds = 120.0, const std::function<void()>& each_step = [] {}) {
    Report last;
    for (const double end = time + seconds; time < end;) {
      step();
      each_step();
      for (const Report& report : navigation.take_reports()) {
        last = report;
      }
      if (last.status > TaskStatus::kRunning && state.is_at_rest()) {
        break;
      }
    }
    return last;
  }

  void step() {
    world->step(kStep);
    time += kStep;
    state = world->state();
    navigation.step(time, kStep);
    note_limits();
  }

  std::unique_ptr<World> world;
  Navigation navigation;
  WorldState state;
  double time = 0.0;
  // The largest values so far, of each axis: velocity, acceleration, jerk.
  std::array<std::array<double, 3>, 3> most{};

 private:
  void note_limits() {
    const PlanarTwist& t = state.base_twist;
    std::array<std::array<double, 3>, 3> now{{{t.vx, t.vy, t.wz}, {}, {}}};
    for (size_t i = 0; i < 3; ++i) {
      for (size_t order = 1; order < 3; ++order) {
        now[order][i] = (now[order - 1][i] - last_[order - 1][i]) / kStep;
      }
      for (size_t order = 0; order < 3; ++order) {
        most[order][i] = std::max(most[order][i], std::abs(now[order][i]));
      }
    }
    last_ = now;
  }

  std::array<std::array<double, 3>, 3> last_{};
};

Task goal_task(const PlanarPose& pose, bool omni = false, bool check = true) {
  Task task;
  task.id = "goal";
  task.targets = {{pose, false, omni, {}, {}}};
  task.check_collision = check;
  return task;
}

Task velocity_task(const PlanarTwist& twist, double duration, bool check) {
  Task task;
  task.id = "velocity";
  task.kind = Task::Kind::kVelocity;
  task.twist = twist;
  task.duration = duration;
  task.check_collision = check;
  return task;
}

WireBox wire_box(const std::string& name, float x, float y, float side, const std::string& parent = "map") {
  return {{side, side, 1.0F}, {x, y, 0.5F, 1.0F, 0.0F, 0.0F, 0.0F}, name, parent};
}

// By rays, not by the shapes that the search knows: does anything but the floor reach into the base's outline? Rays
// along the outline's edges and diagonals, at several heights.
bool stands_in_something(Scene& scene, double time, const PlanarPose& pose, double half_length, double half_width) {
  scene.move_to(time);
  const KDL::Frame base(KDL::Rotation::RotZ(pose.yaw), KDL::Vector(pose.x, pose.y, 0.0));
  const double corners[4][2] = {{1, 1}, {1, -1}, {-1, -1}, {-1, 1}};
  for (const double height : {0.05, 0.4, 0.73, 1.2}) {
    for (int i = 0; i < 4; ++i) {
      for (const int next : {(i + 1) % 4, (i + 2) % 4}) {
        const KDL::Vector from = base * KDL::Vector(corners[i][0] * half_length, corners[i][1] * half_width, height);
        const KDL::Vector to =
            base * KDL::Vector(corners[next][0] * half_length, corners[next][1] * half_width, height);
        const KDL::Vector way = to - from;
        std::vector<Scene::Hit> hits;
        scene.cast(from, {{static_cast<float>(way.x()), static_cast<float>(way.y()), 0.0F}}, hits);
        if (hits[0].distance < 1.0F) {
          return true;
        }
      }
    }
  }
  return false;
}

class Driving : public ::testing::TestWithParam<const char*> {};

TEST_P(Driving, ReachesOrRightlyRefusesAHundredGoals) {
  Drive drive(GetParam());
  Scene scene;
  const Outline outline = base_outline(*drive.world);
  const double half_length = outline.parts[0].corners[2].x;
  const double half_width = outline.parts[0].corners[2].y;
  ASSERT_GT(half_length, 0.3);
  ASSERT_GT(half_width, 0.25);
  std::mt19937 random(20261124);
  std::uniform_real_distribution<double> x(-5.0, 12.0), y(-5.0, 12.4), yaw(-M_PI, M_PI);
  std::map<TaskStatus, int> ends;
  for (int i = 0; i < 100; ++i) {
    const PlanarPose goal = {x(random), y(random), yaw(random)};
    SCOPED_TRACE(::testing::Message() << "goal " << i << ": " << goal.x << ' ' << goal.y << ' ' << goal.yaw);
    int steps = 0;
    const Report end = drive.run(goal_task(goal, i % 2 == 0), 200.0, [&] {
      if (++steps % 20 == 0) {
        ASSERT_FALSE(stands_in_something(scene, drive.time, drive.state.base_truth, half_length, half_width))
            << drive.state.base_truth.x << ' ' << drive.state.base_truth.y;
      }
    });
    ++ends[end.status];
    const PlanarPose& there = drive.state.base_truth;
    const PlanarPose error = compose(inverse(goal), there);
    if (end.status == TaskStatus::kSuccess) {
      EXPECT_LE(std::abs(error.x), 0.05);
      EXPECT_LE(std::abs(error.y), 0.05);
      EXPECT_LE(std::abs(wrap_angle(error.yaw)), 0.05);
    } else {
      // In a wall, on a table, in the cart's way, or in the part of the map that no door leads to.
      const bool shut_off = goal.x > 3.5 && goal.y > 6.9;
      EXPECT_TRUE(end.status == TaskStatus::kOccupied || (end.status == TaskStatus::kFailed && shut_off))
          << static_cast<int>(end.status) << ' ' << end.message << " at " << there.x << ' ' << there.y << ' '
          << there.yaw;
      EXPECT_TRUE(shut_off || (goal.y > 6.2 && goal.y < 8.0) ||
                  stands_in_something(scene, drive.time, goal, half_length + 0.03, half_width + 0.03));
    }
    ASSERT_FALSE(::testing::Test::HasFailure());
  }
  EXPECT_GT(ends[TaskStatus::kSuccess], 50);
  EXPECT_EQ(ends[TaskStatus::kCollision] + ends[TaskStatus::kCloseToObstacle], 0);
  const MotionLimits limits = NavigationSettings().limits;
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_LE(drive.most[0][i], limits.velocity[i] * 1.0001) << i;
    EXPECT_LE(drive.most[1][i], limits.acceleration[i] * 1.0001) << i;
    EXPECT_LE(drive.most[2][i], limits.jerk[i] * 1.001) << i;
  }
  EXPECT_GT(drive.most[0][0], 0.9 * limits.velocity[0]);
}

INSTANTIATE_TEST_SUITE_P(Models, Driving, ::testing::Values("k2", "r5"));

TEST(Navigation, KeepsLowLimitsAndTightThresholds) {
  struct Row {
    const char* settings;
    PlanarPose goal;
  };
  const Row rows[] = {
      {R"({"kinematics_config":{"vel_upper":[0.2,0.1,0.3],"acc_upper":[0.1,0.1,0.2],"jerk_upper":[0.1,0.1,0.2]}})",
       {1.0, 1.5, 1.0}},
      {R"({"kinematics_config":{"vel_upper":[1.5,1.5,1.5],"acc_upper":[7.5,7.5,7.5],"jerk_upper":[37.5,37.5,37.5]}})",
       {-3.0, -3.0, 2.0}},
      {R"({"kinematics_config":{"vel_upper":[0.05,0.05,0.05],"acc_upper":[0.05,0.05,0.05],"jerk_upper":[0.05,0.05,0.05]}})",
       {0.3, 0.1, 0.2}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.settings);
    Drive drive;
    const auto settings = nlohmann::json::parse(row.settings);
    ASSERT_EQ(drive.navigation.change_settings(settings), "");
    ASSERT_EQ(drive.navigation.change_settings({{"pos_threshold", {0.03, 0.03, 0.03}}}), "");
    EXPECT_EQ(drive.run(goal_task(row.goal), 200.0).status, TaskStatus::kSuccess);
    EXPECT_LE(std::hypot(drive.state.base_truth.x - row.goal.x, drive.state.base_truth.y - row.goal.y), 0.03);
    const char* const names[] = {"vel_upper", "acc_upper", "jerk_upper"};
    for (size_t order = 0; order < 3; ++order) {
      for (size_t i = 0; i < 3; ++i) {
        EXPECT_LE(drive.most[order][i], settings["kinematics_config"][names[order]][i].get<double>() * 1.001)
            << order << ' ' << i;
      }
    }
  }
}

// What becomes of a task, by what happens to it.
TEST(Navigation, EndsAsItShould) {
  struct Row {
    const char* name;
    Task task;
    std::function<void(Drive&)> after_two_seconds;
    TaskStatus end;
    const char* message;
  };
  const Task far = goal_task({8.5, 3.5, 0.0});
  Task late = far;
  late.timeout = 3.0;
  const auto nothing = [](Drive&) {};
  const auto wall_off = [](Drive& drive) {
    ASSERT_EQ(drive.navigation.add_boxes({wire_box("a", 3.3F, 5.0F, 1.6F), wire_box("b", 5.0F, -3.7F, 1.6F)}), "");
  };
  const Row rows[] = {
      {"arrives", far, nothing, TaskStatus::kSuccess, "arrived"},
      {"too late", late, nothing, TaskStatus::kFailed, "not there in time"},
      {"in the table", goal_task({2.2, 0.0, 0.0}), nothing, TaskStatus::kOccupied, "the goal lies in an obstacle"},
      {"outside", goal_task({40.0, 0.0, 0.0}), nothing, TaskStatus::kOccupied, "the goal lies in an obstacle"},
      {"shut off", goal_task({8.0, 10.0, 0.0}), nothing, TaskStatus::kFailed, "no way to the goal"},
      {"stopped", far, [](Drive& drive) { EXPECT_EQ(drive.navigation.stop(), ""); }, TaskStatus::kInterrupted,
       "stopped"},
      {"doors closed on the way", far, wall_off, TaskStatus::kCloseToObstacle, "something is in the way"},
      {"emergency stop", far,
       [](Drive& drive) {
         tavrinox_proto::TavrinoXController request;
         (*request.mutable_ctrl_config_map())["all"].set_ctrl_option(
             tavrinox_proto::CONTROLLER_OPTIONS_SOFT_EMERGENCY_STOP);
         EXPECT_TRUE(drive.world->control(request).empty());
       },
       TaskStatus::kFailed, "the base is in emergency stop"},
      {"fault of the base", far, [](Drive& drive) { drive.world->set_error("chassis", -1, "hot"); },
       TaskStatus::kFailed, "the base is in fatal error: hot"},
      {"pushed far", far,
       [](Drive& drive) {
         drive.world->push_base({0.3, 0.0, 0.5});
       },
       TaskStatus::kFailed, "the robot is not localised any more"},
      {"service gone", far, [](Drive& drive) { drive.navigation.set_service_status(ServiceStatus::kWaitTransforms); },
       TaskStatus::kFailed, "the service does not work any more"},
      {"blind into the table", goal_task({4.0, 0.0, 0.0}, false, false), nothing, TaskStatus::kCollision,
       "ran into something"},
      {"velocity", velocity_task({0.3, 0.0, 0.2}, 3.0, true), nothing, TaskStatus::kSuccess, "driven"},
      {"velocity towards the table", velocity_task({0.5, 0.0, 0.0}, 10.0, true), nothing, TaskStatus::kCloseToObstacle,
       "something is in the way"},
      {"velocity into the table", velocity_task({0.5, 0.0, 0.0}, 10.0, false), nothing, TaskStatus::kCollision,
       "ran into something"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Drive drive;
    ASSERT_EQ(drive.navigation.start(row.task), "");
    for (int i = 0; i < 200; ++i) {
      drive.step();
    }
    row.after_two_seconds(drive);
    const Report end = drive.wait();
    EXPECT_EQ(end.status, row.end);
    EXPECT_EQ(end.message, row.message);
    EXPECT_TRUE(drive.state.is_at_rest());
    const double shortest = clearance(base_outline(*drive.world), drive.state.base_truth,
                                      Obstacles::of_scene(surroundings()).solid(drive.time), 1.0);
    EXPECT_EQ(shortest <= 0.0, row.end == TaskStatus::kCollision) << shortest;
  }
}

TEST(Navigation, DrivesAroundWhatIsDeclared) {
  Drive straight;
  ASSERT_EQ(straight.run(goal_task({-4.0, 0.0, M_PI})).status, TaskStatus::kSuccess);
  Drive around;
  ASSERT_EQ(around.navigation.add_boxes({wire_box("box", -2.0F, 0.4F, 1.0F, "base_link")}), "");
  double widest = 0.0;
  ASSERT_EQ(around
                .run(goal_task({-4.0, 0.0, M_PI}), 120.0,
                     [&] { widest = std::max(widest, std::abs(around.state.base_truth.y)); })
                .status,
            TaskStatus::kSuccess);
  EXPECT_GT(widest, 0.9);
  EXPECT_GT(around.time, straight.time);
  // What is in the hand counts for the way, too.
  const auto reaches = [&](Navigation& navigation) {
    return navigation.evaluate(PlanarPose{0.0, 0.0, 0.0}, {3.3, 6.0, 0.0}).has_way;
  };
  EXPECT_TRUE(reaches(around.navigation));
  ASSERT_EQ(
      around.navigation.attach("a", "plank", "base_link", KDL::Frame(KDL::Vector(0.0, 0.0, 1.0)), {0.2, 2.0, 0.1}), "");
  around.step();
  EXPECT_FALSE(reaches(around.navigation));
  ASSERT_EQ(around.navigation.detach("d", {"plank"}, false), "");
  around.step();
  EXPECT_TRUE(reaches(around.navigation));
  EXPECT_EQ(around.navigation.remove_boxes({"box"}), "");
  EXPECT_NE(around.navigation.remove_boxes({"box"}), "");
}

TEST(Navigation, GoesOnAfterAPushAndARelocalisation) {
  Drive drive;
  drive.world->push_base({0.5, 0.3, 0.4});
  EXPECT_EQ(drive.run(goal_task({-3.0, 0.0, 0.0})).message, "the robot is not localised");
  drive.world->relocalise({0.4, 0.4, 0.3});
  EXPECT_EQ(drive.run(goal_task({-3.0, 0.0, 0.0})).status, TaskStatus::kSuccess);
  EXPECT_NEAR(drive.state.base_truth.x, -3.0, 0.05);
  EXPECT_NEAR(drive.state.believed_pose().x, -3.0, 0.05);
  EXPECT_GT(std::abs(drive.state.base_pose.x + 3.0), 0.2);
}

TEST(Navigation, PassesWaypointsAndFollowsTrajectories) {
  const PlanarPose places[] = {{-1.0, 0.5, 0.5}, {-3.5, 0.5, 3.0}, {-3.5, -3.0, -1.5}};
  for (const auto kind : {Task::Kind::kGoals, Task::Kind::kTrajectory}) {
    Drive drive;
    Task task = goal_task(places[0]);
    task.kind = kind;
    task.targets.clear();
    for (const PlanarPose& place : places) {
      task.targets.push_back({place, false, false, {0.8, 1.0, 1.0}, Threshold{0.1, 0.1, 0.2}});
    }
    std::array<double, 3> nearest{9.0, 9.0, 9.0};
    ASSERT_EQ(drive
                  .run(task, 120.0,
                       [&] {
                         for (size_t i = 0; i < 3; ++i) {
                           nearest[i] = std::min(nearest[i], std::hypot(drive.state.base_truth.x - places[i].x,
                                                                        drive.state.base_truth.y - places[i].y));
                         }
                       })
                  .status,
              TaskStatus::kSuccess);
    for (const double distance : nearest) {
      EXPECT_LT(distance, 0.15);
    }
    EXPECT_LE(drive.most[0][0], 0.8 * 0.8 * 1.001);
  }
}

TEST(MapFile, ComesBackAsItWasWritten) {
  const test::TempDir folder;
  const std::string path = folder / "rooms.yaml";
  const OccupancyGrid map = Obstacles::of_scene(surroundings()).map();
  ASSERT_TRUE(save_map(map, path));
  std::string error;
  const auto read = load_map(path, error);
  ASSERT_TRUE(read) << error;
  EXPECT_EQ(cv::norm(read->cells(), map.cells()), 0.0);
  EXPECT_NEAR(read->lower().x, map.lower().x, 1e-6);
  const auto world = make_world("k2");
  Navigation navigation(*world, read);
  EXPECT_TRUE(navigation.evaluate(std::nullopt, {8.5, 3.5, 0.0}).has_way);
  EXPECT_FALSE(navigation.evaluate(std::nullopt, {2.2, 0.0, 0.0}).goal_is_free);
  for (const char* bad :
       {"", "image: rooms.pgm", "[", "image: none.pgm\nresolution: 0.05\norigin: [0, 0, 0]\nfree_thresh: 0.2",
        "image: rooms.pgm\nresolution: .nan\norigin: [0, 0, 0]\nfree_thresh: 0.2",
        "image: rooms.pgm\nresolution: 0.05\norigin: [0, 0, 1]\nfree_thresh: 0.2"}) {
    std::ofstream(folder / "bad.yaml") << bad;
    error.clear();
    EXPECT_FALSE(load_map(folder / "bad.yaml", error)) << bad;
    EXPECT_FALSE(error.empty()) << bad;
  }
}

Bytes to_bytes(const std::string& text) { return {text.begin(), text.end()}; }

TEST(BoxProtocol, ReadsExactlyWhatIsARequest) {
  // A box of sides 1, 2, 3 at the origin, byte for byte.
  const std::string request(
      "\1\0\0\0\3\0\0\0\0\0\200\77\0\0\0\100\0\0\100\100\7\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\200\77\0\0\0\0\0\0\0\0\0\0"
      "\0\0"
      "\11\0\0\0sdk_box_7\11\0\0\0base_link",
      78);
  const auto boxes = read_boxes(to_bytes(request));
  ASSERT_TRUE(boxes && boxes->size() == 1);
  EXPECT_EQ((*boxes)[0].size, (std::vector<float>{1.0F, 2.0F, 3.0F}));
  EXPECT_EQ((*boxes)[0].pose[3], 1.0F);
  EXPECT_EQ((*boxes)[0].name, "sdk_box_7");
  EXPECT_EQ(write_boxes(*boxes), request);
  for (size_t length = 0; length < request.size(); ++length) {
    EXPECT_FALSE(read_boxes(to_bytes(request.substr(0, length)))) << length;
  }
  EXPECT_FALSE(read_boxes(to_bytes(request + "x")));
  // Whatever a byte says, nothing is read beyond the end, and nothing huge is kept for it.
  for (size_t i = 0; i < request.size(); ++i) {
    std::string spoilt = request;
    spoilt[i] = '\377';
    read_boxes(to_bytes(spoilt));
    read_names(to_bytes(spoilt));
  }
  EXPECT_EQ(read_names(to_bytes(std::string("\1\0\0\0\2\0\0\0ab", 10)))->at(0), "ab");
}

}  // namespace
}  // namespace norvik::simulator

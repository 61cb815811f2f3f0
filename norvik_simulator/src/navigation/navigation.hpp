#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>
#include <nlohmann/json_fwd.hpp>
#include <opencv2/core.hpp>

#include "navigation/box_protocol.hpp"
#include "navigation/navigator.hpp"
#include "world/world.hpp"

namespace norvik::simulator {

// As the wire counts them.
enum class ServiceStatus {
  kIniting = 0,
  kWorking = 1,
  kInitFailed = 2,
  kWaitTransforms = 3,
  kWaitLocalisation = 4,
  kWaitJointData = 5
};

// From this score on the robot knows where it is.
inline constexpr double kLocalisedScore = 0.75;

// The base of the robot, which the wheels and what is bolted to it take up.
Outline base_outline(const World& world);

// The robot's navigation: drives the base of a World along the tasks it is given, around what stands there and what was
// declared. Operations that return a text tell why they are refused, empty when they are not. Every operation may be
// called from any thread; one mutex guards it all, and is taken before the world's.
class Navigation {
 public:
  // `map` takes the place of what stands in the surroundings.
  explicit Navigation(World& world, const std::optional<OccupancyGrid>& map = std::nullopt);

  // After each step of the world: gives the base its twist for the next one.
  void step(double time, double dt);

  std::string start(Task task);
  // Interrupts the running task, if there is one.
  std::string stop();
  // How the running task goes, if there is one.
  std::vector<Report> running() const;
  // Reports in their order, each returned once.
  std::vector<Report> take_reports();

  struct Reachability {
    bool start_is_free = false;
    bool goal_is_free = false;
    bool has_way = false;
  };
  Reachability evaluate(const std::optional<PlanarPose>& start, const PlanarPose& goal);

  std::string change_settings(const nlohmann::json& changes);
  std::optional<nlohmann::json> find_setting(const std::string& key) const;

  // Boxes that stand on the map from then on. All of them are taken, or none.
  std::string add_boxes(const std::vector<WireBox>& boxes);
  std::string remove_boxes(const std::vector<std::string>& names);
  std::vector<WireBox> boxes() const;

  // Boxes that move with a link, and widen the outline. They report like tasks of that id.
  std::string attach(const std::string& task_id, const std::string& name, const std::string& link,
                     const KDL::Frame& pose, const KDL::Vector& size);
  std::string detach(const std::string& task_id, const std::vector<std::string>& names, bool all);

  // Says something of a task that it may never have had.
  void report(const Report& report);

  ServiceStatus service_status() const;
  // A service that is not working refuses everything, and drops what it was at.
  void set_service_status(ServiceStatus status);

  // What it knows: "service", "task", "running", "boxes", "attached", "score", "believed", "truth".
  nlohmann::json describe() const;
  // The map, what was declared, and where the base was since the start, as a colour picture.
  cv::Mat draw() const;

 private:
  struct Attached {
    std::string link;
    KDL::Frame pose;
    KDL::Vector size;
  };

  std::string why_not_working() const;
  Moment moment_at(const WorldState& state) const;
  std::optional<KDL::Frame> frame_on_map(const std::string& frame, const WorldState& state) const;
  std::string place_box(const WireBox& box, const WorldState& state, std::optional<Shape>& shape) const;
  void update_outline(const WorldState& state);
  void remember_place(const PlanarPose& truth);

  World& world_;
  const Outline base_;

  mutable std::mutex mutex_;
  NavigationSettings settings_;
  Obstacles obstacles_;
  Navigator navigator_;
  std::map<std::string, WireBox> boxes_;
  std::map<std::string, Attached> attached_;
  std::vector<Report> reports_;
  ServiceStatus status_ = ServiceStatus::kWorking;
  double time_ = 0.0;
  uint64_t base_commands_ = 0;  // Of others, when the task began.
  std::vector<Point> driven_;   // Where the base was.
};

}  // namespace norvik::simulator

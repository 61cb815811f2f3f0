#include "navigation/navigation.hpp"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "navigation/drawing.hpp"

namespace norvik::simulator {

namespace {

constexpr double kWheelRadius = 0.1;      // m
constexpr double kBaseHeight = 0.4;       // m; what is fixed below it belongs to the base
constexpr double kTrackStep = 0.05;       // m between remembered places
constexpr size_t kLongestTrack = 100000;  // places
constexpr size_t kMostBoxes = 10000;
constexpr size_t kMostAttached = 100;

KDL::Frame to_frame(const PlanarPose& pose) {
  return {KDL::Rotation::RotZ(pose.yaw), KDL::Vector(pose.x, pose.y, 0.0)};
}

nlohmann::json to_json(const PlanarPose& pose) { return {{"x", pose.x}, {"y", pose.y}, {"yaw", pose.yaw}}; }

// Empty when it is no pose.
std::optional<KDL::Frame> pose_of(const WireBox& box) {
  const auto& p = box.pose;
  const bool finite = std::all_of(p.begin(), p.end(), [](float value) { return std::abs(value) < 1e6F; });
  const double norm = std::sqrt(p[3] * p[3] + p[4] * p[4] + p[5] * p[5] + p[6] * p[6]);
  if (!finite || norm < 1e-6) {
    return std::nullopt;
  }
  return KDL::Frame(KDL::Rotation::Quaternion(p[4] / norm, p[5] / norm, p[6] / norm, p[3] / norm),
                    KDL::Vector(p[0], p[1], p[2]));
}

bool is_size(const KDL::Vector& size) {
  return size.x() > 0.0 && size.y() > 0.0 && size.z() > 0.0 && size.x() < 1e3 && size.y() < 1e3 && size.z() < 1e3;
}

bool is_in_the_way(const KDL::Frame& pose, const KDL::Vector& size) {
  const KDL::Vector up = pose.M.Inverse() * KDL::Vector(0.0, 0.0, 1.0);
  const double half = (std::abs(up.x()) * size.x() + std::abs(up.y()) * size.y() + std::abs(up.z()) * size.z()) / 2.0;
  return simulator::is_in_the_way(pose.p.z() - half, pose.p.z() + half);
}

}  // namespace

Outline base_outline(const World& world) {
  const Kinematics& kinematics = world.kinematics();
  double x = 0.0;
  double y = 0.0;
  const auto widen = [&](const std::string& link) {
    const bool wheel = kinematics.moving_group(link) == world.robot().chassis_group;
    const auto pose = kinematics.link_pose(link, {});
    if (pose && pose->p.z() < kBaseHeight && (wheel || kinematics.moving_group(link).empty())) {
      x = std::max(x, std::abs(pose->p.x()) + (wheel ? kWheelRadius : 0.0));
      y = std::max(y, std::abs(pose->p.y()) + (wheel ? kWheelRadius : 0.0));
    }
  };
  for (const LinkTransform& transform : kinematics.fixed_transforms()) {
    widen(transform.child);
  }
  for (const LinkTransform& transform : kinematics.moving_transforms({})) {
    widen(transform.child);
  }
  return {{rectangle({}, 2.0 * x, 2.0 * y)}};
}

Navigation::Navigation(World& world, const std::optional<OccupancyGrid>& map)
    : world_(world),
      base_(base_outline(world)),
      obstacles_(map ? Obstacles::of_map(*map, surroundings()) : Obstacles::of_scene(surroundings())),
      navigator_(obstacles_, settings_) {
  navigator_.set_outline(base_);
}

void Navigation::step(double time, double dt) {
  const WorldState state = world_.state();
  const std::lock_guard<std::mutex> lock(mutex_);
  time_ = time;
  remember_place(state.base_truth);
  update_outline(state);
  PlanarTwist twist;
  if (!navigator_.step(moment_at(state), dt, twist)) {
    return;
  }
  if (navigator_.was_hit()) {
    world_.stop_base_dead();
    navigator_.lose_base("was stopped");
  } else if (const std::string reason = world_.drive_base(twist, base_commands_); !reason.empty()) {
    navigator_.lose_base(reason);
  }
}

Moment Navigation::moment_at(const WorldState& state) const {
  return {time_, state.believed_pose(), state.base_truth, state.base_twist, state.localisation_score > kLocalisedScore};
}

void Navigation::remember_place(const PlanarPose& truth) {
  const bool moved = driven_.empty() || std::hypot(truth.x - driven_.back().x, truth.y - driven_.back().y) > kTrackStep;
  if (moved && driven_.size() < kLongestTrack) {
    driven_.push_back({truth.x, truth.y});
  }
}

void Navigation::update_outline(const WorldState& state) {
  Outline outline = base_;
  const JointPositions positions = attached_.empty() ? JointPositions{} : state.positions();
  for (const auto& [name, box] : attached_) {
    if (const auto link = world_.kinematics().link_pose(box.link, positions)) {
      outline.parts.push_back(footprint(*link * box.pose, box.size));
    }
  }
  navigator_.set_outline(std::move(outline));
}

std::string Navigation::why_not_working() const {
  return status_ == ServiceStatus::kWorking ? "" : "the service is not working";
}

std::string Navigation::start(Task task) {
  const WorldState state = world_.state();
  const uint64_t commands = world_.base_commands();
  const std::lock_guard<std::mutex> lock(mutex_);
  std::string reason = why_not_working();
  if (reason.empty()) {
    reason = navigator_.start(std::move(task), moment_at(state));
  }
  if (reason.empty()) {
    base_commands_ = commands;
  }
  return reason;
}

std::string Navigation::stop() {
  const std::lock_guard<std::mutex> lock(mutex_);
  navigator_.end(TaskStatus::kInterrupted, "stopped");
  return why_not_working();
}

std::vector<Report> Navigation::running() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return navigator_.is_running() ? std::vector<Report>{{navigator_.task_id(), TaskStatus::kRunning, "running"}}
                                 : std::vector<Report>{};
}

std::vector<Report> Navigation::take_reports() {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<Report> reports = navigator_.take_reports();
  reports.insert(reports.end(), reports_.begin(), reports_.end());
  reports_.clear();
  return reports;
}

Navigation::Reachability Navigation::evaluate(const std::optional<PlanarPose>& start, const PlanarPose& goal) {
  const WorldState state = world_.state();
  const std::lock_guard<std::mutex> lock(mutex_);
  const Navigator::Evaluation evaluation = navigator_.evaluate(start.value_or(state.believed_pose()), goal);
  return {evaluation.start_is_free, evaluation.goal_is_free, evaluation.has_way};
}

std::string Navigation::change_settings(const nlohmann::json& changes) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const std::string reason = why_not_working();
  return reason.empty() ? simulator::change_settings(settings_, changes) : reason;
}

std::optional<nlohmann::json> Navigation::find_setting(const std::string& key) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return simulator::find_setting(settings_, key);
}

std::optional<KDL::Frame> Navigation::frame_on_map(const std::string& frame, const WorldState& state) const {
  if (frame == "map" || frame == "world") {
    return KDL::Frame::Identity();
  }
  if (frame == "odom") {
    return to_frame(state.map_from_odom);
  }
  const auto link = world_.kinematics().link_pose(frame, state.positions());
  return link ? std::optional(to_frame(state.believed_pose()) * *link) : std::nullopt;
}

// Leaves `shape` empty for a box above the robot's head.
std::string Navigation::place_box(const WireBox& box, const WorldState& state, std::optional<Shape>& shape) const {
  const auto pose = pose_of(box);
  const auto parent = frame_on_map(box.parent_link, state);
  const KDL::Vector size = box.size.size() == 3 ? KDL::Vector(box.size[0], box.size[1], box.size[2]) : KDL::Vector();
  if (!pose || !is_size(size)) {
    return "a box without sides or pose";
  }
  if (!parent) {
    return "unknown frame " + printable_name(box.parent_link);
  }
  const KDL::Frame on_map = *parent * *pose;
  if (is_in_the_way(on_map, size)) {
    shape = footprint(on_map, size);
  }
  return "";
}

std::string Navigation::add_boxes(const std::vector<WireBox>& boxes) {
  const WorldState state = world_.state();
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<std::optional<Shape>> shapes(boxes.size());
  for (size_t i = 0; i < boxes.size(); ++i) {
    if (std::string reason = place_box(boxes[i], state, shapes[i]); !reason.empty()) {
      return reason;
    }
  }
  if (boxes_.size() + boxes.size() > kMostBoxes) {
    return "too many boxes";
  }
  for (size_t i = 0; i < boxes.size(); ++i) {
    boxes_[boxes[i].name] = boxes[i];
    obstacles_.withdraw(boxes[i].name);
    if (shapes[i]) {
      obstacles_.declare(boxes[i].name, *shapes[i]);
    }
  }
  return "";
}

std::string Navigation::remove_boxes(const std::vector<std::string>& names) {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (const std::string& name : names) {
    if (boxes_.count(name) == 0) {
      return "no box " + printable_name(name);
    }
  }
  for (const std::string& name : names) {
    boxes_.erase(name);
    obstacles_.withdraw(name);
  }
  return "";
}

std::vector<WireBox> Navigation::boxes() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<WireBox> boxes;
  for (const auto& [name, box] : boxes_) {
    boxes.push_back(box);
  }
  return boxes;
}

std::string Navigation::attach(const std::string& task_id, const std::string& name, const std::string& link,
                               const KDL::Frame& pose, const KDL::Vector& size) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (std::string reason = why_not_working(); !reason.empty()) {
    return reason;
  }
  if (!is_size(size) || name.empty()) {
    return "a box without name or sides";
  }
  const bool known = world_.kinematics().link_pose(link, {}).has_value();
  if (known && attached_.size() < kMostAttached) {
    attached_[name] = {link, pose, size};
    reports_.push_back({task_id, TaskStatus::kSuccess, "attached"});
  } else {
    const std::string reason = known ? "too many boxes" : "no link " + printable_name(link);
    reports_.push_back({task_id, TaskStatus::kFailed, reason});
  }
  return "";
}

std::string Navigation::detach(const std::string& task_id, const std::vector<std::string>& names, bool all) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (std::string reason = why_not_working(); !reason.empty()) {
    return reason;
  }
  Report report{task_id, TaskStatus::kSuccess, "detached"};
  for (const std::string& name : names) {
    if (attached_.erase(name) == 0) {
      report = {task_id, TaskStatus::kFailed, "no box " + printable_name(name)};
    }
  }
  if (all) {
    attached_.clear();
  }
  reports_.push_back(report);
  return "";
}

void Navigation::report(const Report& report) {
  const std::lock_guard<std::mutex> lock(mutex_);
  reports_.push_back(report);
}

ServiceStatus Navigation::service_status() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return status_;
}

void Navigation::set_service_status(ServiceStatus status) {
  const std::lock_guard<std::mutex> lock(mutex_);
  status_ = status;
  if (status != ServiceStatus::kWorking) {
    navigator_.end(TaskStatus::kFailed, "the service does not work any more");
  }
}

nlohmann::json Navigation::describe() const {
  const WorldState state = world_.state();
  const std::lock_guard<std::mutex> lock(mutex_);
  nlohmann::json attached = nlohmann::json::array();
  for (const auto& [name, box] : attached_) {
    attached.push_back(name);
  }
  return {{"service", static_cast<int>(status_)},
          {"task", navigator_.task_id()},
          {"running", navigator_.is_running()},
          {"boxes", boxes_.size()},
          {"attached", attached},
          {"score", state.localisation_score},
          {"believed", to_json(state.believed_pose())},
          {"truth", to_json(state.base_truth)}};
}

cv::Mat Navigation::draw() const {
  const WorldState state = world_.state();
  const std::lock_guard<std::mutex> lock(mutex_);
  MapPicture picture(obstacles_.map());
  const std::vector<Shape> present = obstacles_.present(time_);
  const auto declared = static_cast<std::ptrdiff_t>(obstacles_.solid(time_).size());
  picture.add_shapes(
      {present.begin() + static_cast<std::ptrdiff_t>(obstacles_.standing().size()), present.begin() + declared},
      kMovingColour);
  picture.add_shapes({present.begin() + declared, present.end()}, kDeclaredColour);
  picture.add_path(driven_);
  picture.add_robot(navigator_.outline(), state.base_truth);
  return picture.take();
}

}  // namespace norvik::simulator

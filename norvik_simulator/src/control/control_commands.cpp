#include "control/control_commands.hpp"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>

#include "control/command_shape.hpp"

namespace norvik::simulator {

namespace {

using nlohmann::json;

// What a command gets wrong; becomes the "error" of its answer.
struct BadCommand : std::runtime_error {
  using std::runtime_error::runtime_error;
};

bool has_endpoint(const Environment& environment, const std::string& name, Direction direction) {
  return std::any_of(environment.endpoints.begin(), environment.endpoints.end(), [&](const EndpointInfo& endpoint) {
    return endpoint.name == name && endpoint.direction == direction;
  });
}

template <typename Fault>
Fault find_fault(const std::map<std::string, Fault>& faults, const std::string& name) {
  const auto it = faults.find(name);
  if (it == faults.end()) {
    throw BadCommand("unknown fault: " + name);
  }
  return it->second;
}

void require(bool good, const std::string& error) {
  if (!good) {
    throw BadCommand(error);
  }
}

bool is_short(std::chrono::milliseconds delay) { return delay.count() >= 0 && delay < std::chrono::hours(1); }

json set_error(Environment& environment, const json& command) {
  const auto group = command.at("group").get<std::string>();
  const auto code = command.at("code").get<int32_t>();
  const auto description = command.value("description", "injected fault");
  require(environment.world.set_error(group, code, description), "unknown group: " + group);
  return {};
}

json set_reply_fault(Environment& environment, const json& command) {
  static const std::map<std::string, ReplyFault> kFaults = {{"none", ReplyFault::kNone},
                                                            {"reject", ReplyFault::kReject},
                                                            {"delay", ReplyFault::kDelay},
                                                            {"lose", ReplyFault::kLose},
                                                            {"duplicate", ReplyFault::kDuplicate},
                                                            {"wrong_id", ReplyFault::kWrongId},
                                                            {"short", ReplyFault::kShort},
                                                            {"negative_count", ReplyFault::kNegativeCount},
                                                            {"huge_count", ReplyFault::kHugeCount},
                                                            {"garbage", ReplyFault::kGarbage}};
  const auto service = command.at("service").get<std::string>();
  require(service != kControlService && has_endpoint(environment, service, Direction::kServes),
          "unknown service: " + service);
  PlannedReplyFault planned;
  planned.fault = find_fault(kFaults, command.at("fault").get<std::string>());
  planned.count = command.value("count", int64_t{1});
  planned.delay = std::chrono::milliseconds(command.value("delay_ms", int64_t{0}));
  require(is_short(planned.delay), "delay_ms is not within an hour");
  environment.faults.set_reply_fault(service, planned);
  return {};
}

// The text of a malformed message; by default a field of a type that does not exist and a length far behind the end.
std::shared_ptr<const std::string> read_payload(const json& command) {
  const auto text = command.value("payload", std::string("\x0f\xff\xff\xff\xff\x7fgarbage"));
  const auto repeat = command.value("repeat", int64_t{1});
  require(repeat >= 1 && repeat <= ovimux::kLargePayloadBound / static_cast<int64_t>(std::max<size_t>(text.size(), 1)),
          "payload is longer than a message can be");
  auto payload = std::make_shared<std::string>();
  for (int64_t i = 0; i < repeat; ++i) {
    *payload += text;
  }
  return payload;
}

json set_topic_fault(Environment& environment, const json& command) {
  static const std::map<std::string, TopicFault> kFaults = {{"none", TopicFault::kNone},
                                                            {"silent", TopicFault::kSilent},
                                                            {"malformed", TopicFault::kMalformed},
                                                            {"drop", TopicFault::kDrop},
                                                            {"delay", TopicFault::kDelay},
                                                            {"corrupt", TopicFault::kCorrupt},
                                                            {"wrong_size", TopicFault::kWrongSize},
                                                            {"empty", TopicFault::kEmpty},
                                                            {"mislabel", TopicFault::kMislabel},
                                                            {"huge", TopicFault::kHuge},
                                                            {"duplicate", TopicFault::kDuplicate}};
  const auto topic = command.at("topic").get<std::string>();
  require(has_endpoint(environment, topic, Direction::kPublishes), "unknown topic: " + topic);
  PlannedTopicFault planned;
  planned.fault = find_fault(kFaults, command.at("fault").get<std::string>());
  planned.share = command.value("share", 1.0);
  require(planned.share >= 0.0 && planned.share <= 1.0, "share is not within 0 and 1");
  planned.delay = std::chrono::milliseconds(command.value("delay_ms", int64_t{0}));
  require(is_short(planned.delay), "delay_ms is not within an hour");
  planned.payload = read_payload(command);
  environment.faults.set_topic_fault(topic, planned);
  return {};
}

json set_planner_fault(Environment& environment, const json& command) {
  const auto fault = command.at("fault").get<std::string>();
  require(environment.planner_faults.set(fault, command.value("count", int64_t{1})), "unknown fault: " + fault);
  return {};
}

json set_clock(Environment& environment, const json& command) {
  const std::chrono::milliseconds skew(command.at("skew_ms").get<int64_t>());
  require(skew < std::chrono::hours(24) && skew > -std::chrono::hours(24), "skew_ms is more than a day");
  environment.faults.set_clock_skew(skew);
  return {};
}

json set_infrared(Environment& environment, const json& command) {
  const auto side = command.at("side").get<std::string>();
  require(side == "left" || side == "right", "side is neither left nor right: " + side);
  auto& mode = side == "left" ? environment.infrared.left : environment.infrared.right;
  mode = command.at("enabled").get<bool>();
  return {};
}

json freeze(Environment& environment, const json& command) {
  const bool frozen = command.value("frozen", true);
  for (const auto& joint : command.at("joints").get<std::vector<std::string>>()) {
    require(environment.world.set_frozen(joint, frozen), "unknown joint: " + joint);
  }
  return {};
}

json set_positions(Environment& environment, const json& command) {
  for (const auto& [joint, position] : command.at("positions").get<std::map<std::string, double>>()) {
    require(environment.world.set_position(joint, position), "unknown joint, or out of its range: " + joint);
  }
  return {};
}

json place_object(Environment& environment, const json& command) {
  const auto group = command.at("group").get<std::string>();
  const auto width = command.at("width_mm").get<double>();
  require(environment.world.set_object(group, width), "no gripper and no suction cup: " + group);
  return {};
}

json place_thing(Environment& environment, const json& command) {
  const auto name = command.at("name").get<std::string>();
  const auto things = environment.world.things();
  require(std::any_of(things.begin(), things.end(), [&](const Thing& thing) { return thing.name == name; }),
          "unknown thing: " + printable_name(name));
  const auto z = command.count("z") != 0 ? std::optional<double>(command["z"].get<double>()) : std::nullopt;
  const bool placed = environment.world.place_thing(name, command.at("x").get<double>(), command.at("y").get<double>(),
                                                    z, command.value("yaw", 0.0));
  require(placed, "the place is not within 100 m");
  return {};
}

json observe(Environment& environment, const json& command) {
  const auto file = command.at("file").get<std::string>();
  require(environment.observer.ask(file),
          "the simulator was started without --observer-camera, or is busy with others");
  return {};
}

json push_base(Environment& environment, const json& command) {
  const PlanarPose push = {command.value("x", 0.0), command.value("y", 0.0), command.value("yaw", 0.0)};
  constexpr double kFarthest = 100.0;
  require(std::abs(push.x) <= kFarthest && std::abs(push.y) <= kFarthest && std::abs(push.yaw) <= kFarthest,
          "a push of more than 100 m");
  environment.world.push_base(push);
  return {};
}

json set_navigation_service(Environment& environment, const json& command) {
  const auto status = command.at("status").get<int64_t>();
  require(status >= 0 && status <= static_cast<int64_t>(ServiceStatus::kWaitJointData), "status is not within 0 and 5");
  environment.navigation.set_service_status(static_cast<ServiceStatus>(status));
  return {};
}

json report_navigation(Environment& environment, const json& command) {
  const auto status = command.at("status").get<int64_t>();
  require(status >= 0 && status <= static_cast<int64_t>(TaskStatus::kCloseToObstacle), "status is not within 0 and 7");
  environment.navigation.report(
      {command.at("task_id").get<std::string>(), static_cast<TaskStatus>(status), command.value("message", "")});
  return {};
}

// Into one folder only: whoever reaches the robot may send commands.
json draw_map(Environment& environment, const json& command) {
  const auto file = command.at("file").get<std::string>();
  require(!environment.picture_folder.empty(), "started without --picture-folder");
  const std::filesystem::path name = file;
  require(name.filename() == name && name.extension() == ".png", "file is no name that ends in .png");
  const std::string path = std::filesystem::path(environment.picture_folder) / name;
  require(cv::imwrite(path, environment.navigation.draw()), "cannot write " + path);
  return {{"file", path}};
}

json clear(Environment& environment, const json& /*command*/) {
  environment.world.clear_faults();
  environment.navigation.set_service_status(ServiceStatus::kWorking);
  environment.faults.clear();
  environment.planner_faults.clear();
  return {};
}

json crash(Environment& /*environment*/, const json& command) {
  const auto how = command.value("how", "exit");
  require(how == "exit" || how == "abort", "unknown way to crash: " + how);
  if (how == "abort") {
    std::abort();
  }
  ::_exit(1);
}

json describe_progress(const MotionProgress& progress) {
  return {{"sampling_finished", progress.sampling_finished},
          {"target_finished", progress.target_finished},
          {"percent", progress.percent},
          {"target_id", progress.target_id}};
}

json describe_group(const GroupState& group) {
  json joints = json::object();
  for (size_t i = 0; i < group.joints.size(); ++i) {
    const JointMotion& joint = group.joints[i];
    joints[group.joint_names[i]] = {
        {"position", joint.position}, {"velocity", joint.velocity}, {"target", joint.target_position}};
  }
  json result = describe_progress(group.progress);
  result.update({{"final_error", group.final_error}, {"effort", group.effort}, {"joints", joints}});
  return result;
}

json describe_groups(const WorldState& state) {
  json groups = json::object();
  for (const GroupState& group : state.groups) {
    groups[group.name] = describe_group(group);
  }
  return groups;
}

// What the robot is still on the way to: groups, the base among them, and the task of the end effectors.
json open_tasks(const WorldState& state) {
  json open = json::array();
  for (const GroupState& group : state.groups) {
    if (!group.progress.sampling_finished) {
      open.push_back(group.name);
    }
  }
  if (!state.wbc_progress.sampling_finished) {
    open.push_back("wbc");
  }
  return open;
}

json describe_things(const WorldState& state) {
  json things = json::object();
  for (const Thing& thing : state.things) {
    double x, y, z, w;
    thing.pose.M.GetQuaternion(x, y, z, w);
    things[thing.name] = {{"frame", "map"},
                          {"position", {thing.pose.p.x(), thing.pose.p.y(), thing.pose.p.z()}},
                          {"orientation", {x, y, z, w}},
                          {"size", {thing.size.x(), thing.size.y(), thing.size.z()}},
                          {"held_by", thing.held_by}};
  }
  return things;
}

json describe(Environment& environment, const json& /*command*/) {
  const WorldState state = environment.world.state();
  json errors = json::object();
  for (const auto& [group, error] : state.errors) {
    errors[group] = {{"code", error.code}, {"description", error.description}};
  }
  const PlanarPose& pose = state.base_pose;
  const PlanarTwist& twist = state.base_twist;
  return {
      {"model", environment.world.robot().name},
      {"steps", state.steps},
      {"joints", state.positions()},
      {"at_rest", state.is_at_rest()},
      {"groups", describe_groups(state)},
      {"tasks", {{"wbc", describe_progress(state.wbc_progress)}}},
      {"open_tasks", open_tasks(state)},
      {"base", {{"x", pose.x}, {"y", pose.y}, {"yaw", pose.yaw}, {"vx", twist.vx}, {"vy", twist.vy}, {"wz", twist.wz}}},
      {"things", describe_things(state)},
      {"navigation", environment.navigation.describe()},
      {"errors", errors},
      {"controllers", state.controllers},
      {"emergency_stop", state.emergency_stop},
      {"dropped_s", environment.pace.dropped_s()},
      {"volume", environment.speaker.volume()},
      {"speaker", environment.speaker.streams()},
      {"counters", environment.faults.counters()}};
}

using Operation = json (*)(Environment&, const json&);
const std::map<std::string, Operation>& operations() {
  static const std::map<std::string, Operation> kOperations = {
      {"error", set_error},
      {"reply", set_reply_fault},
      {"topic", set_topic_fault},
      {"planner", set_planner_fault},
      {"clock", set_clock},
      {"infrared", set_infrared},
      {"freeze", freeze},
      {"set_positions", set_positions},
      {"place_object", place_object},
      {"place_thing", place_thing},
      {"observe", observe},
      {"push_base", push_base},
      {"navigation_service", set_navigation_service},
      {"navigation_report", report_navigation},
      {"draw_map", draw_map},
      {"clear", clear},
      {"crash", crash},
      {"state", describe},
  };
  return kOperations;
}

json failure(const std::string& error) { return {{"ok", false}, {"error", error}}; }

}  // namespace

json run_control_command(Environment& environment, const json& command) {
  try {
    const std::string misshapen = check_shape(command);
    require(misshapen.empty(), misshapen);
    json answer = operations().at(command["op"].get<std::string>())(environment, command);
    answer["ok"] = true;
    return answer;
  } catch (const std::exception& error) {
    return failure(error.what());
  }
}

std::string run_control_text(Environment& environment, const std::string& text) {
  const json command = json::parse(text, nullptr, false);
  const json answer = command.is_discarded() ? failure("not JSON") : run_control_command(environment, command);
  return answer.dump(-1, ' ', false, json::error_handler_t::replace);
}

}  // namespace norvik::simulator

// Asks the robot about itself: where a camera is, how the battery is doing, and what the library has logged.

#include "support.hpp"

using namespace norvik::sdk;

namespace {

constexpr const char* kCameraFrame = "head_left_camera_color_optical_frame";

bool print_transform(NorvikRobot& robot) {
  // x y z in metres, then the quaternion x y z w; empty when the frames are not connected.
  const auto [pose, timestamp_ns] = robot.get_transform("base_link", kCameraFrame, 0, 1000);
  if (pose.size() != 7) {
    std::cout << "No transform to " << kCameraFrame << std::endl;
    return false;
  }
  std::cout << kCameraFrame << " in base_link: x " << pose[0] << " m, y " << pose[1] << " m, z " << pose[2] << " m"
            << std::endl;
  return true;
}

// Zero everywhere until the robot has reported it, once a second.
bool print_battery(NorvikRobot& robot) {
  std::shared_ptr<BmsInfo> battery;
  const bool reported = examples::wait_until(
      [&] { return (battery = robot.get_bms_information()) != nullptr && battery->voltage > 0.0F; }, 5.0);
  if (reported) {
    std::cout << "Battery: " << battery->soc << " %, " << battery->voltage << " V" << std::endl;
  }
  return reported;
}

// The last `count` lines of a text.
std::string last_lines(const std::string& text, int count) {
  size_t start = text.size();
  while (count-- > 0 && start != std::string::npos && start > 0) {
    start = text.rfind('\n', start - 1);
  }
  return start == std::string::npos ? text : text.substr(start + 1);
}

bool print_log(NorvikRobot& robot) {
  const auto log = robot.get_log_information(60, LogLevel::info);
  std::cout << "The log of the last minute ends with:\n"
            << (log ? last_lines(log->content, 3) : "nothing") << std::endl;
  return log && !log->content.empty();
}

bool ask(NorvikRobot& robot) {
  const bool transform = print_transform(robot);
  const bool battery = examples::model() == MachineType::R5 || print_battery(robot);  // Only the K2 reports one.
  return print_log(robot) && transform && battery;
}

}  // namespace

int main() { return examples::run(ask); }

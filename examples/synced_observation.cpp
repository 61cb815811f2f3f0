// One consistent look: the newest frame of the head camera, and the frames of the other cameras and the joint states
// that are closest to it in time. Prints how far apart they are.

#include "support.hpp"

using namespace norvik::sdk;

namespace {

const std::vector<SensorType> kCameras = {SensorType::HEAD_LEFT_CAMERA, SensorType::LEFT_ARM_CAMERA,
                                          SensorType::RIGHT_ARM_CAMERA, SensorType::LEFT_ARM_DEPTH_CAMERA};
constexpr double kLargestGap = 0.2;  // seconds; two periods of a camera at 10 Hz

double seconds_between(int64_t a_ns, int64_t b_ns) { return std::abs(static_cast<double>(a_ns - b_ns)) / 1e9; }

double print_gap(SensorType camera, int64_t timestamp_ns, int64_t anchor_ns) {
  const double gap = seconds_between(timestamp_ns, anchor_ns);
  std::cout << "  " << sensor_type_string_map_.at(camera) << ": " << 1000.0 * gap << " ms" << std::endl;
  return gap;
}

bool observe(NorvikRobot& robot) {
  std::shared_ptr<SyncedObservation> look;
  if (!examples::wait_until([&] { return (look = robot.get_synced_observation(kCameras, true)) != nullptr; }, 5.0)) {
    std::cout << "A camera or the joints did not report." << std::endl;
    return false;
  }
  const int64_t anchor_ns = look->rgb_data.at(kCameras[0])->timestamp_ns;
  std::cout << "Distance in time from " << sensor_type_string_map_.at(kCameras[0]) << ":" << std::endl;
  double largest = seconds_between(look->joint_state->timestamp_ns, anchor_ns);
  std::cout << "  joints: " << 1000.0 * largest << " ms" << std::endl;
  for (const auto& [camera, data] : look->rgb_data) {
    largest = std::max(largest, print_gap(camera, data->timestamp_ns, anchor_ns));
  }
  for (const auto& [camera, data] : look->depth_data) {
    largest = std::max(largest, print_gap(camera, data->timestamp_ns, anchor_ns));
  }
  return largest <= kLargestGap;
}

}  // namespace

int main() { return examples::run(observe, {kCameras.begin(), kCameras.end()}, true); }

// One consistent look: the newest frame of the head camera, and the frames of the other cameras and the joint states
// that are closest to it in time. Prints how far apart they are.

#include <algorithm>
#include <map>

#include "support.hpp"

using namespace norvik::sdk;

namespace {

const std::vector<SensorType> kCameras = {SensorType::HEAD_LEFT_CAMERA, SensorType::LEFT_ARM_CAMERA,
                                          SensorType::RIGHT_ARM_CAMERA, SensorType::LEFT_ARM_DEPTH_CAMERA};
constexpr double kLargestGap = 0.15;  // seconds; one and a half periods of a camera at 10 Hz

using Times = std::map<std::string, int64_t>;  // nanoseconds

Times times_of(const SyncedObservation& look) {
  Times times = {{"joints", look.joint_state->timestamp_ns}};
  for (const auto& [camera, data] : look.rgb_data) {
    times[to_string(camera)] = data->timestamp_ns;
  }
  for (const auto& [camera, data] : look.depth_data) {
    times[to_string(camera)] = data->timestamp_ns;
  }
  return times;
}

double seconds_between(int64_t a_ns, int64_t b_ns) { return std::abs(static_cast<double>(a_ns - b_ns)) / 1e9; }

// The library takes what is closest, however far away: how close is close enough, the application decides. Shortly
// after the start some cameras have sent less than others.
bool is_close(const Times& times, int64_t anchor_ns) {
  return std::all_of(times.begin(), times.end(),
                     [&](const auto& entry) { return seconds_between(entry.second, anchor_ns) <= kLargestGap; });
}

bool observe(NorvikRobot& robot) {
  int64_t anchor_ns = 0;
  Times times;
  const bool close = examples::wait_until(
      [&] {
        const auto look = robot.get_synced_observation(kCameras, true);
        if (!look) {
          return false;
        }
        anchor_ns = look->rgb_data.at(kCameras[0])->timestamp_ns;
        times = times_of(*look);
        return is_close(times, anchor_ns);
      },
      5.0);
  std::cout << (times.empty() ? "A camera or the joints did not report."
                              : "Distance in time from " + to_string(kCameras[0]) + ":")
            << std::endl;
  for (const auto& [name, time_ns] : times) {
    std::cout << "  " << name << ": " << 1000.0 * seconds_between(time_ns, anchor_ns) << " ms" << std::endl;
  }
  return close;
}

}  // namespace

int main() { return examples::run(observe, {kCameras.begin(), kCameras.end()}, true); }

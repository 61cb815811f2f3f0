// Drives the base forward for two seconds, stops it, and compares the way it went with the odometry.

#include "support.hpp"

using namespace norvik::sdk;

namespace {

constexpr double kSpeed = 0.3;       // m/s
constexpr double kDuration = 2.0;    // seconds
constexpr double kTolerance = 0.25;  // share of the way: the base speeds up, brakes, and hears commands late

void print_odometry(const std::string& title, const OdomData& odom) {
  std::cout << title << ": x " << odom.position[0] << " m, y " << odom.position[1] << " m, forward "
            << odom.linear_velocity[0] << " m/s" << std::endl;
}

bool drive(NorvikRobot& robot) {
  const auto before = robot.get_odom();
  print_odometry("Before", *before);

  const auto start = std::chrono::steady_clock::now();
  // The base keeps this velocity until it is told something else.
  const bool driven = examples::report("Drive", [&] {
    return robot.set_base_velocity({kSpeed, 0.0, 0.0}, {0.0, 0.0, 0.0});
  });
  examples::sleep_s(kDuration);
  const bool stopped = examples::report("Stop", [&] { return robot.stop_base(); });
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;

  const bool stands = examples::wait_until([&] { return std::abs(robot.get_odom()->linear_velocity[0]) < 0.001; }, 3.0);
  const auto after = robot.get_odom();
  print_odometry("After", *after);

  const double way = std::hypot(after->position[0] - before->position[0], after->position[1] - before->position[1]);
  const double wanted = kSpeed * time.count();
  std::cout << "The base went " << way << " m, wanted were " << wanted << " m"
            << (stands ? "." : ", and it did not stop.") << std::endl;
  return driven && stopped && stands && std::abs(way - wanted) <= kTolerance * wanted;
}

}  // namespace

int main() { return examples::run(drive); }

// Turns on the spot until Ctrl-C (or SIGTERM), then brings the robot to rest and ends in order.
//
// A handler of your own, set before init(), is left alone by the library. Without one the first Ctrl-C stops the
// library itself, and a last command to the robot would come too late.

#include <csignal>

#include "support.hpp"

using namespace norvik::sdk;

namespace {

constexpr double kTurnRadPerS = 0.3;

volatile std::sig_atomic_t stop_wanted = 0;

void want_stop(int /*signal*/) { stop_wanted = 1; }

bool is_at_rest(NorvikRobot& robot) {
  const auto odom = robot.get_odom();
  return odom && std::abs(odom->angular_velocity[2]) < 0.01;
}

bool turn_until_stopped(NorvikRobot& robot) {
  std::cout << "Turning; press Ctrl-C to stop." << std::endl;
  bool good = true;
  while (good && !stop_wanted) {
    good = robot.set_base_velocity({0, 0, 0}, {0, 0, kTurnRadPerS}) == ControlStatus::SUCCESS;
    examples::sleep_s(0.1);
  }
  const bool stopped = examples::report("Stop", [&] { return robot.stop_base(); });
  return stopped && examples::wait_until([&] { return is_at_rest(robot); }, 5.0) && good;
}

}  // namespace

int main() {
  std::signal(SIGINT, want_stop);
  std::signal(SIGTERM, want_stop);
  return examples::run(turn_until_stopped);
}

// Streams a slow sine to the head, a thousand set-points a second for two seconds, and tells how even the stream was.

#include <algorithm>
#include <utility>

#include "support.hpp"

using namespace norvik::sdk;
using Clock = std::chrono::steady_clock;

namespace {

const std::vector<std::string> kHead = {groups::kHead};
constexpr std::chrono::milliseconds kPeriod{1};
constexpr int kSetPoints = 2000;
constexpr double kAmplitude = 0.15;  // radians
constexpr double kFrequency = 0.5;   // Hz: one whole swing in the two seconds
constexpr double kTolerance = 0.02;  // radians

double swing_at(int step) { return kAmplitude * std::sin(2.0 * M_PI * kFrequency * 0.001 * step); }

void print_periods(std::vector<double> periods_ms) {
  std::sort(periods_ms.begin(), periods_ms.end());
  std::cout << "Period: shortest " << periods_ms.front() << " ms, median " << periods_ms[periods_ms.size() / 2]
            << " ms, 99th percentile " << periods_ms[periods_ms.size() * 99 / 100] << " ms, longest "
            << periods_ms.back() << " ms" << std::endl;
}

bool stream(NorvikRobot& robot) {
  const std::vector<double> start = robot.get_joint_positions(kHead);
  std::vector<double> periods_ms;
  double lowest = start[0];
  double highest = start[0];
  int sent = 0;
  auto due = Clock::now();
  auto last = due;
  for (int i = 1; i <= kSetPoints; ++i) {
    std::this_thread::sleep_until(due += kPeriod);
    const auto now = Clock::now();
    periods_ms.push_back(std::chrono::duration<double, std::milli>(now - std::exchange(last, now)).count());

    const std::vector<JointCommand> set_point = {{start[0] + swing_at(i)}, {start[1] + swing_at(i)}};
    sent += robot.set_joint_commands(set_point, kHead) == ControlStatus::SUCCESS ? 1 : 0;

    const double turned = robot.get_joint_positions(kHead)[0];
    lowest = std::min(lowest, turned);
    highest = std::max(highest, turned);
  }

  std::cout << "Sent " << sent << " of " << kSetPoints << " set-points." << std::endl;
  print_periods(periods_ms);
  std::cout << "The head swung from " << lowest - start[0] << " to " << highest - start[0] << " rad." << std::endl;
  const bool swung = highest - start[0] > 0.9 * kAmplitude && lowest - start[0] < -0.9 * kAmplitude;
  const bool back =
      examples::wait_until([&] { return examples::is_near(robot.get_joint_positions(kHead), start, kTolerance); }, 2.0);
  return sent == kSetPoints && swung && back;
}

}  // namespace

int main() { return examples::run(stream); }

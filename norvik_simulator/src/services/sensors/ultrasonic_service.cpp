// Distances around the base, as JSON text.
#include <cmath>
#include <nlohmann/json.hpp>

#include "services/sensors/sensor_moment.hpp"
#include "services/services.hpp"
#include "sight/scene.hpp"
#include "wire/publisher.hpp"

namespace norvik::simulator {

namespace {

constexpr double kHertz = 10.0;
constexpr int kSensors = 8;
constexpr double kRadius = 0.35;  // m, of the circle they sit on
constexpr double kHeight = 0.2;   // m
constexpr double kRange = 4.0;    // m; also what an empty direction reads

// The first looks ahead, the others follow clockwise, an eighth of a turn apart.
KDL::Frame sensor_pose(const PlanarPose& base, int index) {
  const double turn = base.yaw - 2.0 * M_PI * index / kSensors;
  const KDL::Vector place(base.x + kRadius * std::cos(turn), base.y + kRadius * std::sin(turn), kHeight);
  return {KDL::Rotation::RotZ(turn), place};
}

class UltrasonicService : public Service {
 public:
  explicit UltrasonicService(Environment& environment) : texts_(environment, kUltrasonicTopic) {}

  void tick(const Tick& tick) override {
    if (!regular_.due(tick.time) || !texts_.has_readers()) {
      return;
    }
    scene_.move_to(tick.time, tick.state.things);
    nlohmann::json text = {{"timestamp", tick.stamp.sec() * INT64_C(1000000) + tick.stamp.nanosec() / 1000}};
    for (int i = 0; i < kSensors; ++i) {
      const double metres = scene_.distance(sensor_pose(tick.state.base_truth, i)).value_or(kRange);
      text["u" + std::to_string(i + 1)] = std::round(1000.0 * std::min(metres, kRange));
    }
    texts_.publish(text.dump());
  }

 private:
  TextPublisher texts_;
  Scene scene_;  // Without the robot itself.
  Periodic regular_{kHertz};
};

}  // namespace

std::unique_ptr<Service> make_ultrasonic_service(Environment& environment) {
  return std::make_unique<UltrasonicService>(environment);
}

}  // namespace norvik::simulator

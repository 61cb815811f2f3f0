// What the inertial sensors feel: gravity, and the base turning.
#include "norvik/sensor_proto/imu.pb.h"
#include "services/sensors/sensor_moment.hpp"
#include "services/sensors/sensor_tables.hpp"
#include "services/services.hpp"
#include "wire/publisher.hpp"

namespace norvik::simulator {

namespace {

using sensor_proto::ImuSensor;

constexpr double kHertz = 100.0;
constexpr int32_t kKeptSamples = 300;

std::shared_ptr<ImuSensor> make_imu(const Tick& tick, const char* frame, uint32_t seq) {
  auto imu = std::make_shared<ImuSensor>();
  set_header(*imu->mutable_header(), tick.stamp, frame, seq);
  imu->mutable_accel()->set_z(1.0);  // Multiples of the earth's gravity.
  imu->mutable_gyro()->set_z(tick.state.base_twist.wz);
  return imu;
}

class ImuService : public Service {
 public:
  explicit ImuService(Environment& environment) {
    for (const SensorRow& row : rows_of(imu_table(), environment.world.robot())) {
      ovimux::Qos qos = row.qos();
      qos.opaque_26 = kKeptSamples;
      imus_.emplace_back(row.frame, std::make_unique<Publisher<ImuSensor>>(environment, row.topic, qos));
    }
  }

  void tick(const Tick& tick) override {
    if (!regular_.due(tick.time)) {
      return;
    }
    ++seq_;
    for (const auto& [frame, publisher] : imus_) {
      publisher->publish(make_imu(tick, frame, seq_));
    }
  }

 private:
  std::vector<std::pair<const char*, std::unique_ptr<Publisher<ImuSensor>>>> imus_;
  Periodic regular_{kHertz};
  uint32_t seq_ = 0;
};

}  // namespace

std::unique_ptr<Service> make_imu_service(Environment& environment) {
  return std::make_unique<ImuService>(environment);
}

}  // namespace norvik::simulator

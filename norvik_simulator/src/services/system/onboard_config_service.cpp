// Says what robot this is.
#include "norvik/system_proto/mission_manager_proto/onboard_config.pb.h"
#include "services/services.hpp"
#include "wire/publisher.hpp"

namespace norvik::simulator {

namespace {

using system_proto::mission_manager_proto::OnboardConfig;

constexpr double kHertz = 1.0;
constexpr const char* kMainlineVersion = "1.9.1-sim";

class OnboardConfigService : public Service {
 public:
  explicit OnboardConfigService(Environment& environment)
      : robot_(environment.world.robot()), config_(environment, kOnboardConfigTopic, latched_qos()) {}

  void tick(const Tick& tick) override {
    if (regular_.due(tick.time)) {
      config_.publish(make_config(tick.state));
    }
  }

 private:
  std::shared_ptr<OnboardConfig> make_config(const WorldState& state) const {
    auto config = std::make_shared<OnboardConfig>();
    config->set_robot_serial_number("SIM-" + robot_.name + "-0001");
    config->set_robot_name("norvik_simulator");
    config->set_robot_type(robot_.name == "K2" ? OnboardConfig::K2 : OnboardConfig::R5);
    config->set_robot_hardware_version(robot_.hardware_version);
    config->set_mainline_version(kMainlineVersion);
    config->set_emergency_stop(state.emergency_stop);
    config->set_cur_mode("simulation");
    OnboardConfig::ServiceState& service = *config->add_service_states();
    service.set_name("whole_body_controller");
    service.set_status(OnboardConfig::SERVICE_STATUS_RUNNING);
    return config;
  }

  const RobotModel& robot_;
  Publisher<OnboardConfig> config_;
  Periodic regular_{kHertz};
};

}  // namespace

std::unique_ptr<Service> make_onboard_config_service(Environment& environment) {
  return std::make_unique<OnboardConfigService>(environment);
}

}  // namespace norvik::simulator

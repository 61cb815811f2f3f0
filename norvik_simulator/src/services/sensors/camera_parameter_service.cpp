// Tells which mode the arm cameras are in, whenever it changes.
#include <optional>
#include <nlohmann/json.hpp>

#include "norvik/core_proto/wrapper.pb.h"
#include "services/services.hpp"
#include "wire/publisher.hpp"

namespace norvik::simulator {

namespace {

class ArmCamera {
 public:
  ArmCamera(Environment& environment, const char* topic, const std::atomic<bool>& infrared)
      : infrared_(infrared), parameters_(environment, topic, parameter_qos()) {}

  void report_change() {
    const bool infrared = infrared_;
    if (reported_ == infrared) {
      return;
    }
    reported_ = infrared;
    auto message = std::make_shared<core_proto::StringValue>();
    message->set_value(nlohmann::json{{"ir_enabled", infrared}}.dump());
    parameters_.publish(message);
  }

 private:
  const std::atomic<bool>& infrared_;
  Publisher<core_proto::StringValue> parameters_;
  std::optional<bool> reported_;
};

class CameraParameterService : public Service {
 public:
  explicit CameraParameterService(Environment& environment)
      : left_(environment, kLeftCameraParameterTopic, environment.infrared.left),
        right_(environment, kRightCameraParameterTopic, environment.infrared.right) {}

  void tick(const Tick& /*tick*/) override {
    left_.report_change();
    right_.report_change();
  }

 private:
  ArmCamera left_;
  ArmCamera right_;
};

}  // namespace

std::unique_ptr<Service> make_camera_parameter_service(Environment& environment) {
  return std::make_unique<CameraParameterService>(environment);
}

}  // namespace norvik::simulator

// Publishes the transforms between the frames of the robot.
#include "services/services.hpp"
#include "wire/publisher.hpp"
#include "wire/state_messages.hpp"

namespace norvik::simulator {

namespace {

constexpr double kMovingHertz = 50.0;

class TransformService : public Service {
 public:
  explicit TransformService(Environment& environment)
      : kinematics_(environment.world.kinematics()),
        moving_(environment, kTransformTopic),
        fixed_(environment, kStaticTransformTopic, latched_qos()) {}

  void tick(const Tick& tick) override {
    if (once_.due(tick.time)) {
      fixed_.publish(make_fixed_transforms(kinematics_, tick.stamp));
    }
    if (regular_.due(tick.time)) {
      moving_.publish(make_moving_transforms(tick.state, kinematics_, tick.stamp));
    }
  }

 private:
  const Kinematics& kinematics_;
  Publisher<tf2_proto::TF2Message> moving_;
  Publisher<tf2_proto::TF2Message> fixed_;
  Periodic once_{1e-9};
  Periodic regular_{kMovingHertz};
};

}  // namespace

std::unique_ptr<Service> make_transform_service(Environment& environment) {
  return std::make_unique<TransformService>(environment);
}

}  // namespace norvik::simulator

// Reports where the base is and how fast it moves.
#include "services/services.hpp"
#include "wire/publisher.hpp"
#include "wire/state_messages.hpp"

namespace norvik::simulator {

namespace {

class OdometryService : public Service {
 public:
  explicit OdometryService(Environment& environment) : odometry_(environment, kOdometryTopic) {}

  void tick(const Tick& tick) override {
    const auto message = make_odometry(tick.state, tick.stamp);
    message->mutable_header()->set_seq(++seq_);
    odometry_.publish(message);
  }

 private:
  Publisher<navigation_proto::Odometry> odometry_;
  uint32_t seq_ = 0;
};

}  // namespace

std::unique_ptr<Service> make_odometry_service(Environment& environment) {
  return std::make_unique<OdometryService>(environment);
}

}  // namespace norvik::simulator

// Reports what the whole-body controller knows: joints and progress, sensors, errors.
#include "services/services.hpp"
#include "wire/publisher.hpp"
#include "wire/state_messages.hpp"

namespace norvik::simulator {

namespace {

constexpr double kErrorReportHertz = 10.0;

class StateService : public Service {
 public:
  explicit StateService(Environment& environment)
      : kinematics_(environment.world.kinematics()),
        info_(environment, kInfoTopic),
        sensor_(environment, kSensorTopic),
        error_(environment, kErrorTopic) {}

  void tick(const Tick& tick) override {
    publish(info_, make_wbc_info(tick.state, kinematics_, tick.stamp), info_seq_);
    publish(sensor_, make_sensor(tick.state, tick.stamp), sensor_seq_);
    report_errors(tick);
  }

 private:
  template <typename T>
  static void publish(Publisher<T>& publisher, const std::shared_ptr<T>& message, uint32_t& seq) {
    message->mutable_header()->set_seq(++seq);
    publisher.publish(message);
  }

  // At once when something changed, besides the regular reports.
  void report_errors(const Tick& tick) {
    const auto report = make_error_report(tick.state, tick.stamp);
    std::string content;
    for (const auto& [component, detail] : std::map(report->error_map().begin(), report->error_map().end())) {
      content += component + ' ' + std::to_string(detail.error_code()) + ' ' + detail.description() + '\n';
    }
    if (content != last_errors_ || regular_.due(tick.time)) {
      publish(error_, report, error_seq_);
    }
    last_errors_ = std::move(content);
  }

  const Kinematics& kinematics_;
  Publisher<tavrinox_proto::WBCInfo> info_;
  Publisher<tavrinox_proto::TavrinoXSensor> sensor_;
  Publisher<tavrinox_proto::TavrinoXError> error_;
  uint32_t info_seq_ = 0;
  uint32_t sensor_seq_ = 0;
  uint32_t error_seq_ = 0;
  Periodic regular_{kErrorReportHertz};
  std::string last_errors_;
};

}  // namespace

std::unique_ptr<Service> make_state_service(Environment& environment) {
  return std::make_unique<StateService>(environment);
}

}  // namespace norvik::simulator

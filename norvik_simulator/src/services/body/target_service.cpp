// Takes targets, as a stream and as requests.
#include "norvik/tavrinox_proto/tavrinox_error.pb.h"
#include "norvik/tavrinox_proto/tavrinox_target.pb.h"
#include "services/services.hpp"
#include "wire/service_server.hpp"
#include "wire/state_messages.hpp"

namespace norvik::simulator {

namespace {

using tavrinox_proto::TavrinoXError;
using tavrinox_proto::TavrinoXTarget;

Refusals refuse_all(const TavrinoXTarget& target, const std::string& reason) {
  Refusals refusals;
  for (const auto& [name, group] : target.target_group_trajectory_map()) {
    refusals.push_back({printable_name(name), reason});
  }
  for (const auto& [name, task] : target.target_task_trajectory_map()) {
    refusals.push_back({printable_name(name), reason});
  }
  if (refusals.empty()) {
    refusals.push_back({"target", reason});
  }
  return refusals;
}

class TargetService : public Service {
 public:
  explicit TargetService(Environment& environment)
      : environment_(environment),
        server_(
            kTargetService, large_rpc_qos(), environment,
            [this](const TavrinoXTarget& target) { return answer(environment_.world.follow(target)); },
            [this](const TavrinoXTarget& target, const std::string& why) { return answer(refuse_all(target, why)); }),
        reader_(environment.node.CreateReader<TavrinoXTarget>(
            kTargetTopic, [this](const std::shared_ptr<TavrinoXTarget>& target, const void*) { follow(target); }, {})) {
  }

  void tick(const Tick& /*tick*/) override {}

 private:
  TavrinoXError answer(const Refusals& refusals) { return make_error_reply(environment_.world.errors(), refusals); }

  void follow(const std::shared_ptr<TavrinoXTarget>& target) {
    environment_.faults.count(kTargetTopic);
    if (target) {
      environment_.world.report(environment_.world.follow(*target));
    }
  }

  Environment& environment_;
  ServiceServer<TavrinoXTarget, TavrinoXError> server_;
  std::shared_ptr<ovimux::SerializationReader<TavrinoXTarget>> reader_;
};

}  // namespace

std::unique_ptr<Service> make_target_service(Environment& environment) {
  return std::make_unique<TargetService>(environment);
}

}  // namespace norvik::simulator

// Switches, starts and stops the controllers of the groups.
#include "norvik/tavrinox_proto/tavrinox_controller.pb.h"
#include "norvik/tavrinox_proto/tavrinox_error.pb.h"
#include "services/services.hpp"
#include "wire/service_server.hpp"
#include "wire/state_messages.hpp"

namespace norvik::simulator {

namespace {

using tavrinox_proto::TavrinoXController;
using tavrinox_proto::TavrinoXError;

// A refusal of "all" befalls every group, and a refusal of a request that names nothing the request itself.
Refusals refuse_all(const RobotModel& robot, const TavrinoXController& request, const std::string& reason) {
  Refusals refusals;
  for (const auto& [name, config] : request.ctrl_config_map()) {
    if (name != "all") {
      refusals.push_back({printable_name(name), reason});
      continue;
    }
    for (const GroupModel& group : robot.groups) {
      refusals.push_back({group.name, reason});
    }
  }
  if (refusals.empty()) {
    refusals.push_back({"controller", reason});
  }
  return refusals;
}

class ControllerService : public Service {
 public:
  explicit ControllerService(Environment& environment)
      : world_(environment.world),
        server_(
            kControllerService, large_rpc_qos(), environment,
            [this](const TavrinoXController& request) { return answer(world_.control(request)); },
            [this](const TavrinoXController& request, const std::string& why) {
              return answer(refuse_all(world_.robot(), request, why));
            }) {}

  void tick(const Tick& /*tick*/) override {}

 private:
  TavrinoXError answer(const Refusals& refusals) { return make_error_reply(world_.errors(), refusals); }

  World& world_;
  ServiceServer<TavrinoXController, TavrinoXError> server_;
};

}  // namespace

std::unique_ptr<Service> make_controller_service(Environment& environment) {
  return std::make_unique<ControllerService>(environment);
}

}  // namespace norvik::simulator

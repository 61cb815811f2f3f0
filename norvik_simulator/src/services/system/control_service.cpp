// Lets tests and people plan faults while the simulator runs.
#include "control/control_commands.hpp"
#include "ovimux/dds/service_server_base.hpp"
#include "services/services.hpp"

namespace norvik::simulator {

namespace {

class ControlService : public Service {
 public:
  explicit ControlService(Environment& environment)
      : environment_(environment),
        server_(kControlService, {},
                [this](const ovimux::RequestContext& context, const std::vector<uint8_t>& request) {
                  server_.Reply(context, run_control_text(environment_, std::string(request.begin(), request.end())));
                }) {}

  void tick(const Tick& /*tick*/) override {}

 private:
  Environment& environment_;
  ovimux::ServiceServerBase server_;
};

}  // namespace

std::unique_ptr<Service> make_control_service(Environment& environment) {
  return std::make_unique<ControlService>(environment);
}

}  // namespace norvik::simulator

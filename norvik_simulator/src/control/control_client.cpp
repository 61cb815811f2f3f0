#include "control/control_client.hpp"

#include <iostream>
#include <nlohmann/json.hpp>

#include "control/control_commands.hpp"
#include "ovimux/node.hpp"
#include "ovimux/ovimux.hpp"

namespace norvik::simulator {

namespace {

constexpr std::chrono::seconds kPatience{5};

}  // namespace

int run_control_client(const std::string& command) {
  ovimux::OvimuxInit();
  const auto node = ovimux::CreateNode("norvik_simulator_control", "");
  const auto client = node->CreateClient(kControlService, {}, false);
  if (!client) {
    std::cerr << "norvik_simulator: cannot open the control service\n";
    return 1;
  }
  client->WaitForServerConnected(kPatience);
  const auto answer = client->SendRequest(std::make_shared<const std::string>(command), kPatience);
  if (!answer) {
    std::cerr << "norvik_simulator: no simulator answers; is one running on the same OVIMUX_DOMAIN_ID?\n";
    return 1;
  }
  std::cout << *answer << '\n';
  const auto parsed = nlohmann::json::parse(*answer, nullptr, false);
  return parsed.is_object() && parsed.value("ok", false) ? 0 : 1;
}

}  // namespace norvik::simulator

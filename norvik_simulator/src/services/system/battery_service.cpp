// Reports the battery as JSON text.
#include <nlohmann/json.hpp>

#include "services/services.hpp"
#include "wire/publisher.hpp"

namespace norvik::simulator {

namespace {

constexpr double kHertz = 1.0;
constexpr double kSecondsPerPercent = 120.0;

// The spelling of the temperature's key is that of the wire.
std::string battery_text(double time) {
  const double charge = std::max(5.0, 95.0 - time / kSecondsPerPercent);
  const nlohmann::json battery = {
      {"voltage", 42.0 + 0.1 * charge},
      {"current", -6.5},
      {"soc", charge},
      {"average_tempture", 31.0},
      {"charge_status", 0},
      {"protect_state", 0},
      {"capacity", 40.0},
  };
  return battery.dump();
}

class BatteryService : public Service {
 public:
  explicit BatteryService(Environment& environment) : texts_(environment, kBatteryTopic) {}

  void tick(const Tick& tick) override {
    if (regular_.due(tick.time)) {
      texts_.publish(battery_text(tick.time));
    }
  }

 private:
  TextPublisher texts_;
  Periodic regular_{kHertz};
};

}  // namespace

std::unique_ptr<Service> make_battery_service(Environment& environment) {
  return std::make_unique<BatteryService>(environment);
}

}  // namespace norvik::simulator

// Boxes that applications declare, over three binary channels.
#include "navigation/navigation.hpp"
#include "services/services.hpp"
#include "wire/service_server.hpp"

namespace norvik::simulator {

namespace {

const std::string kDone(1, '\0');
const std::string kRefused(1, '\1');

std::string flag_of(const std::string& refusal) { return refusal.empty() ? kDone : kRefused; }

class BoxService : public Service {
 public:
  explicit BoxService(Environment& environment)
      : add_(kAddBoxService, {}, environment,
             {[&navigation = environment.navigation](const Bytes& request) {
                const auto boxes = read_boxes(request);
                return boxes ? flag_of(navigation.add_boxes(*boxes)) : kRefused;
              },
              reject}),
        remove_(kRemoveBoxService, {}, environment,
                {[&navigation = environment.navigation](const Bytes& request) {
                   const auto names = read_names(request);
                   return names ? flag_of(navigation.remove_boxes(*names)) : kRefused;
                 },
                 reject}),
        get_(kGetBoxService, {}, environment,
             {[&navigation = environment.navigation](const Bytes& /*request*/) {
                return write_boxes(navigation.boxes());
              },
              reject}) {}

  void tick(const Tick& /*tick*/) override {}

 private:
  static std::string reject(const Bytes& /*request*/) { return kRefused; }

  RawServiceServer add_;
  RawServiceServer remove_;
  RawServiceServer get_;
};

}  // namespace

std::unique_ptr<Service> make_box_service(Environment& environment) {
  return std::make_unique<BoxService>(environment);
}

}  // namespace norvik::simulator

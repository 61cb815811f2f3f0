#include "impl/wbc/controllers/motion_stopper.hpp"

#include <algorithm>
#include <future>
#include <utility>
#include <vector>

#include "impl/wbc/common/common_utils.hpp"
#include "impl/wbc/controllers/controller_manager.hpp"
#include "impl/wbc/targets/target_proto_builder.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

using Response = std::shared_ptr<tavrinox_proto::TavrinoXError>;

// Blocking requests notice a shutdown within 50 ms.
constexpr std::chrono::milliseconds kLongestSending{150};

struct PendingStop {
  std::string what;
  std::shared_future<Response> answer;  // invalid when nothing was sent
};

template <typename Client, typename Request>
PendingStop send_stop(const Client& client, const std::shared_ptr<Request>& request, std::string what) {
  return {std::move(what),
          client ? client->AsyncSendRequest(std::shared_ptr<const Request>(request)) : std::shared_future<Response>()};
}

bool has_answer(const PendingStop& stop, std::chrono::steady_clock::time_point deadline) {
  return stop.answer.valid() && stop.answer.wait_until(deadline) == std::future_status::ready;
}

}  // namespace

MotionStopper::MotionStopper(std::shared_ptr<CommonUtils> common_utils,
                             std::shared_ptr<TargetProtoBuilder> target_proto_builder)
    : common_utils_(std::move(common_utils)),
      target_proto_builder_(std::move(target_proto_builder)),
      task_([this](std::chrono::steady_clock::time_point deadline) { stop(deadline); }) {}

// Sends everything first and looks at the answers then, so that the time does not grow with the number of motions.
void MotionStopper::stop(std::chrono::steady_clock::time_point deadline) {
  const auto going_out_until = std::min(deadline, std::chrono::steady_clock::now() + kLongestSending);
  const MotionsUnderWay::Stops stops = common_utils_->motions_under_way().take(going_out_until);
  std::vector<PendingStop> pending;
  if (stops.base_velocity) {
    pending.push_back(send_stop(common_utils_->get_wbcs_target_client(),
                                target_proto_builder_->generate_target_chassis_twist(0.0, 0.0, 0.0), "base velocity"));
  }
  for (const std::string& group : stops.groups) {
    pending.push_back(send_stop(common_utils_->get_wbcs_controller_client(),
                                ControllerManager::generate_controller_stop(group), group));
  }
  for (const auto& hold : stops.holds) {
    hold();
  }
  for (const PendingStop& stop : pending) {
    record_stop(stop.what, has_answer(stop, deadline));
  }
}

void record_stop(const std::string& group, bool answered) {
  if (answered) {
    SDK_LOG(info) << "stop " << group << " action success.";
  } else {
    SDK_LOG(error) << "stop " << group << " action timeout.";
  }
}

}  // namespace norvik::sdk

#include "impl/wbc/targets/target_dispatcher.hpp"

#include <utility>

#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

ControlStatus fail(const char* operation, const char* reason, ControlStatus status) {
  SDK_LOG(error) << operation << " failed: " << reason;
  return status;
}

}  // namespace

TargetDispatcher::TargetDispatcher(std::shared_ptr<CommonUtils> common_utils)
    : common_utils_(std::move(common_utils)) {}

ControlStatus TargetDispatcher::publish_proto_target(
    const std::shared_ptr<tavrinox_proto::TavrinoXTarget>& target) const {
  constexpr const char* kOperation = "publish_proto_target";
  if (target == nullptr) {
    return fail(kOperation, "target is nullptr.", ControlStatus::INVALID_INPUT);
  }
  if (common_utils_ == nullptr) {
    return fail(kOperation, "common_utils is nullptr.", ControlStatus::INIT_FAILED);
  }
  const TargetWriterPtr writer = common_utils_->get_wbcs_target_writer();
  if (writer == nullptr) {
    return fail(kOperation, "target writer is nullptr.", ControlStatus::INIT_FAILED);
  }
  if (!writer->Publish(target)) {
    return fail(kOperation, "writer publish returned false.", ControlStatus::PUBLISH_FAIL);
  }
  return ControlStatus::SUCCESS;
}

TargetDispatcher::RequestResult TargetDispatcher::request_proto_target(
    const std::shared_ptr<tavrinox_proto::TavrinoXTarget>& target, std::chrono::seconds timeout) const {
  constexpr const char* kOperation = "request_proto_target";
  if (target == nullptr) {
    return {fail(kOperation, "target is nullptr.", ControlStatus::INVALID_INPUT), nullptr};
  }
  if (common_utils_ == nullptr) {
    return {fail(kOperation, "common_utils is nullptr.", ControlStatus::INIT_FAILED), nullptr};
  }
  const TargetClientPtr client = common_utils_->get_wbcs_target_client();
  if (client == nullptr) {
    return {fail(kOperation, "target client is nullptr.", ControlStatus::INIT_FAILED), nullptr};
  }
  auto response = client->SendRequest(std::shared_ptr<const tavrinox_proto::TavrinoXTarget>(target), timeout);
  if (response == nullptr) {
    return {fail(kOperation, "request timed out or returned nullptr.", ControlStatus::TIMEOUT), nullptr};
  }
  return {ControlStatus::SUCCESS, std::move(response)};
}

}  // namespace norvik::sdk

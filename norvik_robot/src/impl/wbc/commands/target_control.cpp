#include "impl/wbc/commands/target_control.hpp"

#include "impl/wbc/targets/target_proto_converter.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr std::chrono::seconds kRequestTargetTimeout{5};

}  // namespace

ControlStatus TargetControl::PublishTarget(const TavrinoXTarget& target) const {
  const WbcModules& modules = modules_.get();
  if (const auto finding = TargetProtoConverter::validate_target_input(target)) {
    SDK_LOG(error) << "PublishTarget invalid input: " << *finding;
    return ControlStatus::INVALID_INPUT;
  }
  if (!modules.target_dispatcher) {
    SDK_LOG(error) << "PublishTarget failed: target_dispatcher_ is nullptr, please init.";
    return ControlStatus::INIT_FAILED;
  }
  const auto proto = TargetProtoConverter::convert_target_to_proto(target);
  if (!proto) {
    SDK_LOG(error) << "PublishTarget failed: convert target to proto returned nullptr.";
    return ControlStatus::INVALID_INPUT;
  }
  return modules.target_dispatcher->publish_proto_target(proto);
}

std::shared_ptr<ErrorInfo> TargetControl::RequestTarget(const TavrinoXTarget& target) const {
  const WbcModules& modules = modules_.get();
  if (const auto finding = TargetProtoConverter::validate_target_input(target)) {
    SDK_LOG(error) << "RequestTarget invalid input: " << *finding;
    return CommonUtils::make_local_error_info(kRequestTargetComponent, kRequestTargetInvalidCode, *finding);
  }
  if (!modules.target_dispatcher) {
    SDK_LOG(error) << "RequestTarget failed: target_dispatcher_ is nullptr, please init.";
    return nullptr;
  }
  const auto current = modules.common_utils->error_buffer().get_data();
  if (!current) {
    SDK_LOG(error) << "RequestTarget failed: current error buffer is unavailable.";
    return nullptr;
  }
  const auto involved = CommonUtils::collect_involved_groups(target);
  if (auto blocking_errors = modules.common_utils->build_request_screening_error(current, involved)) {
    SDK_LOG(error) << "RequestTarget blocked by current runtime errors.";
    return blocking_errors;
  }
  const auto proto = TargetProtoConverter::convert_target_to_proto(target);
  if (!proto) {
    SDK_LOG(error) << "RequestTarget failed: convert target to proto returned nullptr.";
    return CommonUtils::make_local_error_info(kRequestTargetComponent, kRequestTargetConversionCode,
                                              "failed to convert target to proto");
  }
  const auto [status, response] = modules.target_dispatcher->request_proto_target(proto, kRequestTargetTimeout);
  if (status != ControlStatus::SUCCESS || !response) {
    SDK_LOG(error) << "RequestTarget failed: dispatch status is " << static_cast<int32_t>(status);
    return nullptr;
  }
  auto report = std::make_shared<ErrorInfo>();
  modules.common_utils->transform_to_error_info(response, *report);
  return report;
}

}  // namespace norvik::sdk

// Boxes in the world model, by the binary protocol, and boxes on links of the robot, by the navigation service.

#include "impl/boxes/fusion_box.hpp"
#include "impl/norvik_navigation_base.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr std::chrono::seconds kReplyTimeout{5};
constexpr size_t kCountBytes = 4;
constexpr RequestLimits kLinkBoxLimits{kReplyTimeout, 4};
constexpr double kLinkBoxTimeS = 5.0;

// The records of a client that cannot be asked begin with this.
bool can_be_asked(const std::shared_ptr<ovimux::RawClient>& client, const char* name) {
  if (!client) {
    SDK_LOG(error) << "fusion " << name << " box client is not initialized";
    return false;
  }
  if (client->GetMatchedServerCount() == 0) {
    SDK_LOG(error) << "fusion " << name << " box server is not connected";
    return false;
  }
  return true;
}

void log_add_request(const BoxInfo& box, const std::string& name) {
  const Pose& pose = box.box_pose;
  SDK_LOG(info) << "add bounding box request: box_tag=" << box.box_tag << ", box_name=" << name
                << ", parent_link_name=" << box.parent_link_name << ", box_size=[" << box.box_size[0] << ", "
                << box.box_size[1] << ", " << box.box_size[2] << "], box_pose.position=[" << pose.x << ", " << pose.y
                << ", " << pose.z << "], box_pose.orientation=[" << pose.qx << ", " << pose.qy << ", " << pose.qz
                << ", " << pose.qw << "]";
}

}  // namespace

// The world model.

NaviStatus NorvikNavigationBase::add_bounding_box(const BoxInfo& box) {
  size_t total_size = kCountBytes;
  FusionBoxInfo fusion;
  const NaviStatus converted = convert_box_info_to_fusion_box(box, fusion, total_size);
  if (converted != NaviStatus::SUCCESS) {
    return converted;
  }
  log_add_request(box, fusion.box_name);
  return send_box_request(fusion_add_client_, "add", make_add_box_request(fusion, total_size));
}

NaviStatus NorvikNavigationBase::remove_bounding_box(int32_t box_tag) {
  size_t total_size = kCountBytes;
  std::string name;
  convert_box_tag_to_fusion_box_name(box_tag, name, total_size);
  SDK_LOG(info) << "remove bounding box request: box_tag=" << box_tag << ", box_name=" << name;
  return send_box_request(fusion_remove_client_, "remove", make_remove_box_request(name, total_size));
}

NaviStatus NorvikNavigationBase::send_box_request(const std::shared_ptr<ovimux::RawClient>& client,
                                                  const char* operation, const std::string& request) {
  if (!can_be_asked(client, operation)) {
    return NaviStatus::REQUEST_FAILED;
  }
  const auto reply = client->SendRequest(request, kReplyTimeout);
  if (!reply || reply->empty()) {
    SDK_LOG(error) << operation << " bounding box response invalid";
    return NaviStatus::REQUEST_FAILED;
  }
  const int flag = static_cast<uint8_t>(reply->front());
  SDK_LOG(info) << operation << " bounding box got response_flag = " << flag;
  return flag == 0 ? NaviStatus::SUCCESS : NaviStatus::REQUEST_FAILED;
}

std::vector<BoxInfo> NorvikNavigationBase::get_bounding_box() {
  if (!can_be_asked(fusion_get_client_, "get")) {
    return {};
  }
  const auto reply = fusion_get_client_->SendRequest(make_get_box_request(), kReplyTimeout);
  return read_box_list(reply ? *reply : std::string());
}

// Links of the robot.

NaviStatus NorvikNavigationBase::attach_box_to_link(const BoxInfo& box, const std::vector<std::string>& ignore_links) {
  if (!is_valid_box(box)) {
    SDK_LOG(error) << "invalid attach box input";
    return NaviStatus::INVALID_INPUT;
  }
  const NaviStatus ready = check_link_box_service();
  if (ready != NaviStatus::SUCCESS) {
    return ready;
  }
  return run_link_box_request(
      "attach", generate_attach_request(tasks_.next_attach_id(), box, fusion_box_name(box.box_tag), ignore_links));
}

NaviStatus NorvikNavigationBase::detach_box_from_link(int32_t box_tag) {
  const NaviStatus ready = check_link_box_service();
  if (ready != NaviStatus::SUCCESS) {
    return ready;
  }
  return run_link_box_request("detach", generate_detach_request(tasks_.next_detach_id(), fusion_box_name(box_tag)));
}

NaviStatus NorvikNavigationBase::check_link_box_service() const {
  if (!plan_client_) {
    SDK_LOG(error) << "pns client is not initialized";
    return NaviStatus::REQUEST_FAILED;
  }
  return is_service_working() ? NaviStatus::SUCCESS : NaviStatus::SERVICE_NOT_READY;
}

NaviStatus NorvikNavigationBase::run_link_box_request(const char* operation,
                                                      const std::shared_ptr<const NaviRequest>& request) {
  SDK_LOG(info) << operation << " box request: " << request->DebugString();
  tasks_.set_status(NaviTaskStatus::RUNNING);
  const NaviTime deadline = navigation_deadline(navigation_now(), kLinkBoxTimeS);
  const RequestOutcome outcome = send_repeatedly(plan_client_, request, kLinkBoxLimits);
  if (outcome.kind == RequestOutcome::kUnanswered) {
    SDK_LOG(error) << operation << " box request timeout";
  }
  if (outcome.kind != RequestOutcome::kAccepted) {
    tasks_.set_status(NaviTaskStatus::UNKNOWN);
    return NaviStatus::REQUEST_FAILED;
  }
  return wait_for_link_box(operation, deadline);
}

NaviStatus NorvikNavigationBase::wait_for_link_box(const char* operation, NaviTime deadline) {
  while (tasks_.status() <= NaviTaskStatus::RUNNING) {
    if (navigation_now() > deadline || !sleep_until_next_look()) {
      SDK_LOG(error) << operation << " box timeout";
      return NaviStatus::TIMEOUT;
    }
  }
  return tasks_.status() == NaviTaskStatus::SUCCESS ? NaviStatus::SUCCESS : NaviStatus::REQUEST_FAILED;
}

}  // namespace norvik::sdk

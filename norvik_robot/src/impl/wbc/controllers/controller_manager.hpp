#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include <norvik_sdk/types.hpp>

#include "norvik/tavrinox_proto/tavrinox_controller.pb.h"
#include "norvik/tavrinox_proto/tavrinox_error.pb.h"

namespace norvik::sdk {

class CommonUtils;

// Stands for "no controller" where a controller's name is returned.
inline constexpr const char* kNoControllerName = "CONTROLLER_NAME_NUM";

// Addresses every group of the robot in one controller request.
inline constexpr const char* kAllGroups = "all";

// The client's view of which low-level controller drives which joint group. The service never reports the active
// controller, so what is known here is only what this object itself has switched.
//
// Every request blocks for at most 5 seconds. All operations may be called from any thread; concurrent switches of one
// group leave the controller whose answer came last.
class ControllerManager {
 public:
  struct CtrlRoute {
    const char* controller_name;
    const char* group_name;
    int ctrl_id;
  };

  using ControllerRequest = std::shared_ptr<tavrinox_proto::TavrinoXController>;

  virtual ~ControllerManager();
  ControllerManager(const ControllerManager&) = delete;
  ControllerManager& operator=(const ControllerManager&) = delete;

  virtual const std::unordered_set<std::string>& supported_group_names() const = 0;
  virtual const std::string& get_chassis_group_name_impl() const = 0;
  virtual const std::string& get_chassis_twist_controller_name_impl() const = 0;
  virtual const std::string& get_chassis_pose_controller_name_impl() const = 0;

  std::optional<std::pair<std::string, int>> find_group_and_id(const std::string& controller_name) const;
  std::optional<std::string> find_controller_name(const std::string& group, int ctrl_id) const;
  bool has_controller_group(const std::string& group) const;

  // kNoControllerName when the group is unsupported or nothing was switched on it yet.
  std::string get_active_controller(const std::string& group) const;

  // Sends nothing when the controller is already active, unless `force_switch`.
  ControlStatus switch_controller(const std::string& controller_name, bool force_switch);

  // Always sends. `error_info` is filled with the service's report on FAULT.
  ControlStatus switch_controller(const std::string& group, ErrorInfo& error_info, int ctrl_id);

  // Every group is unknown again, as before the first switch. Nothing is sent.
  void forget_active_controllers();

  // `group` may be kAllGroups. A released group has no known controller; a stopped one keeps its own.
  ControlStatus reload_controller(const std::string& group);
  ControlStatus release_controller(const std::string& group);
  ControlStatus start_controller(const std::string& group);
  ControlStatus stop_controller(const std::string& group);

  // Asks the service to stop `group` and hands back its answer, empty without one. Writes no record and leaves the
  // active controllers as they are.
  std::shared_ptr<tavrinox_proto::TavrinoXError> send_stop_controller_request(const std::string& group,
                                                                              std::chrono::seconds timeout) const;

  static ControllerRequest generate_controller_switch(const std::string& group, int ctrl_id);
  static ControllerRequest generate_controller_reload(const std::string& group);
  static ControllerRequest generate_controller_release(const std::string& group);
  static ControllerRequest generate_controller_start(const std::string& group);
  static ControllerRequest generate_controller_stop(const std::string& group);

 protected:
  explicit ControllerManager(std::shared_ptr<CommonUtils> common_utils);

  void init_route_maps(const std::vector<CtrlRoute>& routes);

 private:
  using MakeRequest = std::function<ControllerRequest()>;
  using GroupRequest = ControllerRequest (*)(const std::string& group);

  ControlStatus execute_group_command(const std::string& group, GroupRequest generate, const char* operation);
  ControlStatus execute_controller_command(const std::string& group, const MakeRequest& make_request,
                                           const std::string& operation);
  void note_stopped(const std::string& group) const;
  bool has_fatal_answer(const std::string& group, const std::shared_ptr<tavrinox_proto::TavrinoXError>& response) const;
  bool is_switch_needed(const std::string& controller_name, const std::string& group, int ctrl_id, bool force_switch);

  struct ActiveController {
    int ctrl_id;
    unsigned lost_servers;  // as counted when it was made active, or when a loss was last recorded
  };

  unsigned lost_server_count() const;

  // The service may have come back as another process, whose controllers are not those remembered here.
  void warn_of_lost_server(const std::string& group, const std::string& controller_name);

  std::optional<int> find_active_id(const std::string& group) const;
  void remember_active_id(const std::string& group, int ctrl_id);
  void forget_active_id(const std::string& group);

  const std::shared_ptr<CommonUtils> common_utils_;
  std::unordered_map<std::string, std::pair<std::string, int>> route_by_controller_;
  std::unordered_map<std::string, std::unordered_map<int, std::string>> controllers_by_group_;

  // Guards active_ alone; never held across a request.
  mutable std::mutex active_mutex_;
  std::unordered_map<std::string, ActiveController> active_;
};

class ControllerManagerK2 : public ControllerManager {
 public:
  static std::shared_ptr<ControllerManager> Create(std::shared_ptr<CommonUtils> common_utils);
  static const std::vector<CtrlRoute>& routes();

  const std::unordered_set<std::string>& supported_group_names() const override;
  const std::string& get_chassis_group_name_impl() const override;
  const std::string& get_chassis_twist_controller_name_impl() const override;
  const std::string& get_chassis_pose_controller_name_impl() const override;

 private:
  explicit ControllerManagerK2(std::shared_ptr<CommonUtils> common_utils);
};

class ControllerManagerR5 : public ControllerManager {
 public:
  static std::shared_ptr<ControllerManager> Create(std::shared_ptr<CommonUtils> common_utils);
  static const std::vector<CtrlRoute>& routes();

  const std::unordered_set<std::string>& supported_group_names() const override;
  const std::string& get_chassis_group_name_impl() const override;
  const std::string& get_chassis_twist_controller_name_impl() const override;
  const std::string& get_chassis_pose_controller_name_impl() const override;

 private:
  explicit ControllerManagerR5(std::shared_ptr<CommonUtils> common_utils);
};

}  // namespace norvik::sdk

#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_map>

#include <norvik_sdk/navigation_types.hpp>

#include "norvik/kelvorn_proto/pns_interface.pb.h"

namespace norvik::sdk {

// The ids by which this process tells its own tasks from others, and what the service reports of all of them. Any
// thread.
class NavigationTasks {
 public:
  // Picks the prefix of this object's ids: six characters, the same for its whole life.
  NavigationTasks();

  // ---- Ids ----
  // Goals, configurations and their stops share one counter: the reports of a goal count only while no later id has
  // been made.
  std::string next_goal_id();
  std::string next_config_id(const std::string& name);
  // Of the last of these, whatever it was.
  std::string present_goal_id() const;
  // Ids of attached boxes carry no prefix.
  std::string next_attach_id();
  std::string next_detach_id();
  const std::string& task_prefix() const { return task_prefix_; }

  // ---- What the service says ----
  // Keeps the result, for good; its status becomes that of the goal if its id is the newest of a goal, an attached or a
  // detached box.
  void update(const kelvorn_proto::NavigationResult& result);

  int32_t status() const { return navigation_status_.load(); }
  void set_status(int32_t status) { navigation_status_.store(status); }

  // The task that was reported or accepted last, whoever gave it.
  std::string active_task_id() const;
  void set_active_task_id(const std::string& task_id);
  // The last task that was handed over with targets.
  void set_current_task_id(const std::string& task_id);

  // ---- Tasks that are polled ----
  // Makes the id known, before its request goes out.
  void enter(const std::string& task_id);
  // The request did not get through.
  void fail(const std::string& task_id, const std::string& reason);
  TaskHandle find(const std::string& task_id) const;

 private:
  bool is_ours(const std::string& task_id) const;

  const std::string task_prefix_;
  std::atomic<uint32_t> task_sequence_{0};
  std::atomic<uint32_t> attach_sequence_{0};
  std::atomic<uint32_t> detach_sequence_{0};
  std::atomic<int32_t> navigation_status_{NaviTaskStatus::UNKNOWN};

  mutable std::mutex ids_mutex_;  // Of the two below.
  std::string current_task_id_;
  std::string active_task_id_;

  mutable std::mutex task_results_mutex_;
  std::unordered_map<std::string, kelvorn_proto::NavigationResult> task_results_;
};

}  // namespace norvik::sdk

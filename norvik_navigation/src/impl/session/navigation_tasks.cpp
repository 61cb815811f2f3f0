#include "impl/session/navigation_tasks.hpp"

#include <random>
#include <string_view>

namespace norvik::sdk {

using kelvorn_proto::NavigationResult;

namespace {

std::string draw_task_prefix() {
  constexpr std::string_view kCharacters = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  constexpr size_t kPrefixSize = 6;
  std::mt19937 generator(std::random_device{}());
  std::uniform_int_distribution<size_t> index(0, kCharacters.size() - 1);
  std::string prefix;
  for (size_t i = 0; i < kPrefixSize; ++i) {
    prefix += kCharacters[index(generator)];
  }
  return prefix;
}

std::string attach_id(uint32_t sequence) { return "attach_obj_req_" + std::to_string(sequence); }
std::string detach_id(uint32_t sequence) { return "detach_obj_req_" + std::to_string(sequence); }
std::string goal_id(const std::string& prefix, uint32_t sequence) { return prefix + "Navi" + std::to_string(sequence); }

// What a newer release of the service may report is unknown to the caller.
int32_t known_status(int32_t status) {
  return status >= NaviTaskStatus::RUNNING && status <= NaviTaskStatus::CLOSE_TO_OBSTACLE ? status
                                                                                          : NaviTaskStatus::UNKNOWN;
}

}  // namespace

NavigationTasks::NavigationTasks() : task_prefix_(draw_task_prefix()) {}

std::string NavigationTasks::next_goal_id() { return goal_id(task_prefix_, ++task_sequence_); }

std::string NavigationTasks::next_config_id(const std::string& name) {
  return task_prefix_ + name + std::to_string(++task_sequence_);
}

std::string NavigationTasks::present_goal_id() const { return goal_id(task_prefix_, task_sequence_.load()); }

std::string NavigationTasks::next_attach_id() { return attach_id(++attach_sequence_); }

std::string NavigationTasks::next_detach_id() { return detach_id(++detach_sequence_); }

bool NavigationTasks::is_ours(const std::string& task_id) const {
  return task_id == present_goal_id() || task_id == attach_id(attach_sequence_.load()) ||
         task_id == detach_id(detach_sequence_.load());
}

void NavigationTasks::update(const NavigationResult& result) {
  const std::string& task_id = result.task_id();
  {
    const std::lock_guard<std::mutex> lock(task_results_mutex_);
    task_results_[task_id] = result;
  }
  set_active_task_id(task_id);
  if (is_ours(task_id)) {
    set_status(result.status());
  }
}

std::string NavigationTasks::active_task_id() const {
  const std::lock_guard<std::mutex> lock(ids_mutex_);
  return active_task_id_;
}

void NavigationTasks::set_active_task_id(const std::string& task_id) {
  const std::lock_guard<std::mutex> lock(ids_mutex_);
  active_task_id_ = task_id;
}

void NavigationTasks::set_current_task_id(const std::string& task_id) {
  const std::lock_guard<std::mutex> lock(ids_mutex_);
  current_task_id_ = task_id;
}

void NavigationTasks::enter(const std::string& task_id) {
  const std::lock_guard<std::mutex> lock(task_results_mutex_);
  task_results_[task_id] = NavigationResult();
}

void NavigationTasks::fail(const std::string& task_id, const std::string& reason) {
  NavigationResult result;
  result.set_task_id(task_id);
  result.set_status(NavigationResult::FAILED);
  result.set_msg(reason);
  const std::lock_guard<std::mutex> lock(task_results_mutex_);
  task_results_[task_id] = std::move(result);
}

TaskHandle NavigationTasks::find(const std::string& task_id) const {
  const std::lock_guard<std::mutex> lock(task_results_mutex_);
  const auto entry = task_results_.find(task_id);
  if (entry == task_results_.end()) {
    return {task_id, NaviTaskStatus::UNKNOWN, task_id.empty() ? "task_id is empty" : "task not found"};
  }
  return {task_id, known_status(entry->second.status()), entry->second.msg()};
}

}  // namespace norvik::sdk

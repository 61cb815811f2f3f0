#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <norvik_sdk/motion_plan_config.hpp>
#include <norvik_sdk/types.hpp>

#include "norvik/kelvorn_proto/mps_status.pb.h"

namespace norvik::sdk {

// What the status messages of the planning service tell beside tasks: its configuration, the objects of its scene and
// whether it has started. Any thread.
class ConfigCache {
 public:
  // Takes over one message. `chains` are those whose limits are kept.
  void update_motion_config(const kelvorn_proto::PlannerStatus& message, const std::set<std::string>& chains);

  // A copy that shares nothing with the cache. DATA_FETCH_FAILED when the last message is older than 3 s, or never
  // came.
  std::tuple<MotionStatus, MotionPlanConfig> get_motion_plan_config() const;

  std::vector<std::string> planner_env_objs() const;

  bool is_initing() const { return mps_initing_.load(); }
  bool is_init_ok() const { return mps_init_ok_.load(); }

 private:
  mutable std::mutex motion_plan_config_mutex_;
  MotionPlanConfig motion_plan_config_;
  std::vector<std::string> planner_env_objs_;
  std::atomic<int64_t> motion_plan_config_time_ns_{0};  // wall clock, since the Unix epoch
  std::atomic<bool> mps_initing_{true};
  std::atomic<bool> mps_init_ok_{false};
};

}  // namespace norvik::sdk

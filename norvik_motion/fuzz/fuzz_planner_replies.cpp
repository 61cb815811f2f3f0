// Feeds arbitrary bytes, as far as they are messages at all, to everything that reads an answer of the planning
// service: status messages, data responses and kinematic responses. The first byte chooses.
#include <cstdint>

#include "impl/replies/config_report.hpp"
#include "impl/replies/task_results.hpp"
#include "impl/session/plan_tasks.hpp"
#include "impl/tables/chain_tables.hpp"

namespace {

using namespace norvik;  // NOLINT(google-build-using-namespace)

void read_status(const kelvorn_proto::PlannerStatus& status) {
  static sdk::MotionPlanConfig config;
  sdk::take_over_config(status, {"left_arm", "right_arm", "head"}, config);
  sdk::parse_plan_result(status);
  sdk::parse_fk_result(status);
  sdk::parse_ik_result(status);
  sdk::parse_collision_result(status, 2);
  sdk::PlanTasks tasks;
  tasks.add_plan_task_handle("task");
  tasks.update(status);
  tasks.update(status);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) {
    return 0;
  }
  const auto* const bytes = data + 1;
  const auto length = static_cast<int>(size - 1);
  kelvorn_proto::PlannerStatus status;
  kelvorn_proto::DataResponse response;
  kelvorn_proto::KinematicResponse kinematic;
  if (data[0] % 3 == 0 && status.ParseFromArray(bytes, length)) {
    read_status(status);
  } else if (data[0] % 3 == 1 && response.ParseFromArray(bytes, length)) {
    sdk::make_chain_tables(response.chain_prop_list());
  } else if (data[0] % 3 == 2 && kinematic.ParseFromArray(bytes, length)) {
    sdk::parse_jacobian_result(kinematic);
  }
  return 0;
}

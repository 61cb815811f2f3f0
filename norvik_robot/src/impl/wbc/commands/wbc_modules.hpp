#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include "impl/wbc/common/common_utils.hpp"
#include "impl/wbc/controllers/base_control.hpp"
#include "impl/wbc/controllers/controller_manager.hpp"
#include "impl/wbc/effectors/end_effector_control.hpp"
#include "impl/wbc/joints/joint_manager.hpp"
#include "impl/wbc/joints/joint_metadata.hpp"
#include "impl/wbc/joints/joint_state_module.hpp"
#include "impl/wbc/joints/sensor_module.hpp"
#include "impl/wbc/targets/target_dispatcher.hpp"
#include "impl/wbc/targets/target_proto_builder.hpp"

namespace norvik::sdk {

// The modules of a robot's whole-body part in the order in which they are made: each holds those above it that it
// needs. Either all are there or none is.
struct WbcModules {
  std::shared_ptr<CommonUtils> common_utils;
  std::shared_ptr<JointManager> joint_manager;
  std::shared_ptr<TargetDispatcher> target_dispatcher;
  std::shared_ptr<ControllerManager> controller_manager;
  std::shared_ptr<TargetProtoBuilder> target_proto_builder;
  std::shared_ptr<SensorModule> sensor_module;
  std::shared_ptr<JointMetadata> joint_metadata;
  std::shared_ptr<JointStateModule> joint_state_module;
  std::shared_ptr<EndEffectorControl> end_effector_control;
  std::unique_ptr<BaseControl> base_control;
};

// Where the robot's commands find the modules: none before the initialisation, the same ones from then on. Filled once;
// read by any thread, also meanwhile.
class WbcModulesSlot {
 public:
  const WbcModules& get() const { return filled_.load(std::memory_order_acquire) ? modules_ : none_; }

  void fill(WbcModules modules) {
    modules_ = std::move(modules);
    filled_.store(true, std::memory_order_release);
  }

 private:
  const WbcModules none_{};
  WbcModules modules_;
  std::atomic<bool> filled_{false};
};

}  // namespace norvik::sdk

#pragma once

#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include <norvik_sdk/motion_plan_config.hpp>
#include <norvik_sdk/types.hpp>

#include "norvik/kelvorn_proto/collision_object_def.pb.h"
#include "norvik/kelvorn_proto/common_def.pb.h"
#include "norvik/kelvorn_proto/common_planner_config.pb.h"
#include "norvik/kelvorn_proto/mps_interface.pb.h"

namespace norvik::sdk {

// Names and enumerations of the public interface against those of the wire. The same for all models.
struct MotionTables {
  using WirePrimitive = kelvorn_proto::setLineTrajCheckPrimitive::LineTrajCheckPrimitive;

  const std::unordered_map<std::string, kelvorn_proto::ChainType> chain_type_map_;
  const std::unordered_map<std::string, kelvorn_proto::ChainFrame::FrameType> frame_type_map_;
  const std::unordered_map<std::string, kelvorn_proto::CameraType> camera_type_map_;
  const std::unordered_map<ActuateType, kelvorn_proto::ActuateType> actuate_type_map_;  // without type_num
  const std::unordered_map<std::string, kelvorn_proto::SimpleObjectType> simple_object_type_map_;

  const std::unordered_map<IKSolverConfig::SeedType, kelvorn_proto::SeedType> seed_to_wire_;
  const std::unordered_map<int, IKSolverConfig::SeedType> seed_from_wire_;
  const std::unordered_map<SamplerConfig::StateCheckType, kelvorn_proto::StateCheckType> state_check_to_wire_;
  const std::unordered_map<int, SamplerConfig::StateCheckType> state_check_from_wire_;
  const std::unordered_map<SamplerConfig::TerminationConditionType, kelvorn_proto::TerminationConditionType>
      termination_to_wire_;
  const std::unordered_map<int, SamplerConfig::TerminationConditionType> termination_from_wire_;
  const std::unordered_map<LineTrajCheckPrimitive::PrimitiveType, WirePrimitive> primitive_to_wire_;
};

// Lives until the process is gone: threads may plan while static objects are destroyed.
const MotionTables& motion_tables();

// The wire's chain of that name. Throws std::out_of_range for a name without one.
kelvorn_proto::ChainType chain_type(const std::string& chain);

// Whether planning knows the actuate type; logs when not.
bool actuate_type_is_valid(ActuateType type);

// What a scene can be made of.
std::set<std::string> obstacle_types();

// A chain and the name of what may move with it, from the chains that the caller lets move, in any order. Both empty
// when that combination is not offered.
struct ChainChoice {
  std::string chain;
  std::string actuate_name;
};
ChainChoice validate_and_get_chain_type(const std::vector<std::string>& chain_names);

}  // namespace norvik::sdk

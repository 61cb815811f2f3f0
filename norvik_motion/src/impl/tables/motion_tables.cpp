#include "impl/tables/motion_tables.hpp"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "sdk_log.hpp"

namespace norvik::sdk {

namespace proto = kelvorn_proto;

namespace {

MotionTables make_tables() {
  using Seed = IKSolverConfig::SeedType;
  using StateCheck = SamplerConfig::StateCheckType;
  using Termination = SamplerConfig::TerminationConditionType;
  using Primitive = LineTrajCheckPrimitive::PrimitiveType;
  return {
      {{"head", proto::head},
       {"left_arm", proto::left_arm},
       {"right_arm", proto::right_arm},
       {"leg", proto::leg},
       {"torso", proto::torso}},
      {{"ee_base", proto::ChainFrame::EE_BASE},
       {"camera_base", proto::ChainFrame::CAMERA_BASE},
       {"camera_object", proto::ChainFrame::CAMERA_OBJECT}},
      {{"front_head", proto::FRONT_HEAD}, {"left_arm", proto::LEFT_ARM}, {"right_arm", proto::RIGHT_ARM}},
      {{ActuateType::with_chain_only, proto::ACTUATE_WITH_CHAIN_ONLY},
       {ActuateType::with_torso, proto::ACTUATE_WITH_TORSO},
       {ActuateType::with_leg, proto::ACTUATE_WITH_LEG}},
      {{"box", proto::BOX}, {"sphere", proto::SPHERE}, {"cylinder", proto::CYLINDER}},
      {{Seed::RANDOM_SEED, proto::RANDOM_SEED},
       {Seed::RANDOM_PROGRESSIVE_SEED, proto::RANDOM_PROGRESSIVE_SEED},
       {Seed::USER_DEFINED_SEED, proto::USER_DEFINED_SEED}},
      {{proto::RANDOM_SEED, Seed::RANDOM_SEED},
       {proto::RANDOM_PROGRESSIVE_SEED, Seed::RANDOM_PROGRESSIVE_SEED},
       {proto::USER_DEFINED_SEED, Seed::USER_DEFINED_SEED}},
      {{StateCheck::EUCLIDEAN_DISTANCE, proto::EUCLIDEAN_DISTANCE},
       {StateCheck::RADIAN_DISTANCE, proto::RADIAN_DISTANCE}},
      {{proto::EUCLIDEAN_DISTANCE, StateCheck::EUCLIDEAN_DISTANCE},
       {proto::RADIAN_DISTANCE, StateCheck::RADIAN_DISTANCE}},
      {{Termination::TIMEOUT, proto::Timeout},
       {Termination::TIMEOUT_AND_EXACT_SOLUTION, proto::TimeoutAndExactSolution}},
      {{proto::Timeout, Termination::TIMEOUT},
       {proto::TimeoutAndExactSolution, Termination::TIMEOUT_AND_EXACT_SOLUTION}},
      {{Primitive::LINE, proto::setLineTrajCheckPrimitive::LINE},
       {Primitive::CYLINDER, proto::setLineTrajCheckPrimitive::CYLINDER}},
  };
}

}  // namespace

const MotionTables& motion_tables() {
  static const auto* const tables = new MotionTables(make_tables());
  return *tables;
}

proto::ChainType chain_type(const std::string& chain) {
  const auto row = motion_tables().chain_type_map_.find(chain);
  if (row == motion_tables().chain_type_map_.end()) {
    throw std::out_of_range("unsupport chain_name: " + chain);
  }
  return row->second;
}

bool actuate_type_is_valid(ActuateType type) {
  if (motion_tables().actuate_type_map_.count(type) != 0) {
    return true;
  }
  SDK_LOG(error) << "actuate_type_map_ not find actuate type " << static_cast<int32_t>(type);
  return false;
}

std::set<std::string> obstacle_types() {
  std::set<std::string> types{"mesh", "point_cloud", "depth_image"};
  for (const auto& row : motion_tables().simple_object_type_map_) {
    types.insert(row.first);
  }
  return types;
}

ChainChoice validate_and_get_chain_type(const std::vector<std::string>& chain_names) {
  struct Row {
    std::set<std::string> chains;
    ChainChoice choice;
  };
  static const auto* const rows = new std::array<Row, 9>{{
      {{"left_arm"}, {"left_arm", "with_chain_only"}},
      {{"leg"}, {"leg", "with_chain_only"}},
      {{"leg", "left_arm"}, {"left_arm", "with_leg"}},
      {{"torso", "left_arm"}, {"left_arm", "with_torso"}},
      {{"right_arm"}, {"right_arm", "with_chain_only"}},
      {{"leg", "right_arm"}, {"right_arm", "with_leg"}},
      {{"torso", "right_arm"}, {"right_arm", "with_torso"}},
      {{"leg", "head"}, {"head", "with_leg"}},
      {{"torso", "head"}, {"head", "with_torso"}},
  }};
  const std::set<std::string> chains(chain_names.begin(), chain_names.end());
  const auto row = std::find_if(rows->begin(), rows->end(), [&](const Row& known) { return known.chains == chains; });
  return row == rows->end() ? ChainChoice{} : row->choice;
}

}  // namespace norvik::sdk

#include "impl/tables/chain_tables.hpp"

#include <algorithm>

#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr int32_t kMostJoints = 10'000;  // Of a whole body; what is beyond is a defect of the sender.

// A negative index is passed over by who uses it.
bool has_plausible_indices(const kelvorn_proto::ChainProp& chain) {
  const auto& indices = chain.chain_joint_indices();
  return std::all_of(indices.begin(), indices.end(), [](int32_t index) { return index < kMostJoints; });
}

}  // namespace

ChainTables make_chain_tables(const kelvorn_proto::ChainPropList& list) {
  ChainTables tables;
  for (const auto& chain : list.chain_props()) {
    const std::string& name = chain.chain_name();
    if (name == "mobile_base") {
      SDK_LOG(info) << "skip mobile base chain";
      continue;
    }
    if (!has_plausible_indices(chain)) {
      SDK_LOG(error) << "skip chain " << name << ": invalid joint index";
      continue;
    }
    tables.chain_dof_map_[name] = chain.joint_names_size();
    tables.joint_index_map_[name] = {chain.chain_joint_indices().begin(), chain.chain_joint_indices().end()};
    tables.chain_joint_names_[name] = {chain.joint_names().begin(), chain.joint_names().end()};
  }
  for (const auto& [name, indices] : tables.joint_index_map_) {
    tables.robot_dof_ = indices.empty() ? tables.robot_dof_ : std::max(tables.robot_dof_, indices.back() + 1);
  }
  return tables;
}

}  // namespace norvik::sdk

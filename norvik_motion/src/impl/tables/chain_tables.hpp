#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "norvik/kelvorn_proto/common_interface.pb.h"

namespace norvik::sdk {

// The joints of the robot as the service orders them. Not changed once made.
struct ChainTables {
  std::unordered_map<std::string, std::vector<std::string>> chain_joint_names_;
  std::unordered_map<std::string, int32_t> chain_dof_map_;
  std::unordered_map<std::string, std::vector<int32_t>> joint_index_map_;  // places in the whole-body vector
  int32_t robot_dof_ = 0;                                                  // length of the whole-body vector
};

// From the service's answer. The mobile base is no chain; a chain with an index that no robot has is passed over.
ChainTables make_chain_tables(const kelvorn_proto::ChainPropList& list);

}  // namespace norvik::sdk

#pragma once

#include <string>
#include <vector>

#include "dds/peer.hpp"
#include "model/model_channels.hpp"

namespace norvik::tools {

// One DDS topic that can be listened to, and what its writers have in common.
struct ListenTarget {
  std::string topic;
  std::string type = kRawType;  // Of the messages, as far as it is known.
  std::string dds_type;         // Of the samples.
  bool is_reliable = false;
  bool is_latched = false;
  bool is_keyed = false;
  bool is_exclusive = false;
  std::vector<std::string> partitions;
  std::vector<int16_t> representations;
};

}  // namespace norvik::tools

#pragma once

#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "ovimux/dds/dds_node_factory.hpp"

namespace norvik::ovimux {

namespace proto {
class TopologyState;
}

// Latched; every process writes its endpoints here.
inline constexpr const char* kTopologyTopic = "ovimux/topology_change_broadcast";

// Keeps the last announcement of every process that is alive.
class TopologyPeers {
 public:
  explicit TopologyPeers(const Qos& qos);
  ~TopologyPeers();
  TopologyPeers(const TopologyPeers&) = delete;
  TopologyPeers& operator=(const TopologyPeers&) = delete;

  std::vector<std::shared_ptr<const proto::TopologyState>> snapshot() const;

 private:
  class Listener;

  std::shared_ptr<Listener> listener_;
  DataReader* reader_;
};

}  // namespace norvik::ovimux

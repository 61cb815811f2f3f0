#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "ovimux/export.hpp"

namespace norvik::ovimux {

namespace proto {
class RoleAttributes;
class TopologyState;
}  // namespace proto

// Announces an endpoint as long as it lives: its destruction takes the announcement back.
class OVIMUX_EXPORT Membership {
 public:
  Membership() = default;
  explicit Membership(uint64_t endpoint_id) : endpoint_id_(endpoint_id) {}
  ~Membership() { leave(); }
  Membership(Membership&& other) noexcept : endpoint_id_(other.endpoint_id_) { other.endpoint_id_ = 0; }
  Membership& operator=(Membership&& other) noexcept;

 private:
  void leave();

  uint64_t endpoint_id_ = 0;  // 0: announces nothing.
};

// Tells the other processes which endpoints this one has, and learns theirs. A process publishes all of its endpoints
// as one latched sample after every change, so a late joiner needs only the last one; a process that ends or vanishes
// disappears with its writer.
class OVIMUX_EXPORT Manager {
 public:
  static Manager* Instance(bool create = true);

  // Announces an endpoint, soon and on another thread. `role` is a proto::RoleType.
  Membership Join(const proto::RoleAttributes& attributes, int role, bool announce);

  // What the processes that are alive announce, this one included. The first call starts listening and sees only what
  // has arrived, so ask repeatedly.
  std::vector<std::shared_ptr<const proto::TopologyState>> Snapshot();

 private:
  friend class Membership;
  Manager();
  struct State;
  State* const state_;
};

}  // namespace norvik::ovimux

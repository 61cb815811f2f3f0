#include "ovimux/core/manager.hpp"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/descriptor.pb.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>

#include "core/exit_handler.hpp"
#include "core/topology_peers.hpp"
#include "ovimux/core/global_data.hpp"
#include "ovimux/dds/dds_data_writer.hpp"
#include "ovimux/log.hpp"
#include "ovimux/ovimux.hpp"
#include "ovimux/role_attributes.pb.h"

namespace norvik::ovimux {
namespace {

using google::protobuf::FileDescriptor;
using google::protobuf::FileDescriptorSet;

// A process opens its endpoints in bursts; one announcement covers a burst.
constexpr std::chrono::milliseconds kSettleTime{50};

Qos topology_qos() {
  Qos qos;
  qos.payload_kind = kLargePayloadKind;
  qos.opaque_3 = 1;  // Latched.
  return qos;
}

// Adds `file` behind everything it imports.
void add_schema(const FileDescriptor& file, std::set<std::string>& added, FileDescriptorSet& set) {
  if (!added.insert(file.name()).second) {
    return;
  }
  for (int i = 0; i < file.dependency_count(); ++i) {
    add_schema(*file.dependency(i), added, set);
  }
  file.CopyTo(set.add_file());
}

std::string schemas_of(const proto::TopologyState& state) {
  std::set<std::string> added;
  FileDescriptorSet set;
  for (const auto& role : state.roles()) {
    const auto* type = google::protobuf::DescriptorPool::generated_pool()->FindMessageTypeByName(role.message_type());
    if (type != nullptr) {
      add_schema(*type->file(), added, set);
    }
  }
  return set.SerializeAsString();
}

}  // namespace

struct Manager::State {
  std::mutex mutex;
  std::condition_variable changed;
  std::map<uint64_t, proto::RoleAttributes> roles;
  uint64_t last_endpoint_id = 0;
  uint64_t change_count = 0;
  bool announcing = false;
  std::unique_ptr<TopologyPeers> peers;

  uint64_t add(proto::RoleAttributes attributes);
  void remove(uint64_t endpoint_id);
  void announce_changes();
  std::shared_ptr<proto::TopologyState> describe();
};

uint64_t Manager::State::add(proto::RoleAttributes attributes) {
  const std::lock_guard<std::mutex> lock(mutex);
  const uint64_t id = ++last_endpoint_id;
  attributes.set_endpoint_id(id);
  roles[id] = std::move(attributes);
  ++change_count;
  if (!announcing && OK()) {  // What is opened before the start is announced with what comes after it.
    announcing = true;
    std::thread([this] { announce_changes(); }).detach();
  }
  changed.notify_all();
  return id;
}

void Manager::State::remove(uint64_t endpoint_id) {
  {
    const std::lock_guard<std::mutex> lock(mutex);
    roles.erase(endpoint_id);
    ++change_count;
  }
  changed.notify_all();
}

// Runs on a thread of its own until shutdown.
void Manager::State::announce_changes() {
  DDSSerializationDataWriter<proto::TopologyState> writer(kTopologyTopic, topology_qos());
  uint64_t announced = 0;
  while (OK()) {
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [this, announced] { return change_count != announced; });
    lock.unlock();
    std::this_thread::sleep_for(kSettleTime);
    const auto state = describe();
    announced = state->change_count();
    if (OK()) {
      writer.Publish(state);
    }
  }
}

std::shared_ptr<proto::TopologyState> Manager::State::describe() {
  const auto* process = GlobalData::Instance();
  auto state = std::make_shared<proto::TopologyState>();
  state->set_host_name(process->host_name());
  state->set_process_id(process->process_id());
  state->set_process_name(process->process_name());
  {
    const std::lock_guard<std::mutex> lock(mutex);
    state->set_change_count(change_count);
    for (const auto& [id, role] : roles) {
      *state->add_roles() = role;
    }
  }
  state->set_file_descriptor_set(schemas_of(*state));
  return state;
}

Manager* Manager::Instance(bool /*create*/) {
  static auto* const instance = new Manager;
  return instance;
}

Manager::Manager() : state_(new State) {}

Membership Manager::Join(const proto::RoleAttributes& attributes, int role, bool announce) {
  if (!announce) {
    return {};
  }
  proto::RoleAttributes announced = attributes;
  announced.set_role_type(static_cast<proto::RoleType>(role));
  try {
    return Membership(state_->add(std::move(announced)));
  } catch (const std::exception& exception) {  // No thread to be had; the endpoint itself works.
    OVIMUX_LOG(kWarning) << "endpoint is not announced, channel: " << attributes.channel_name()
                         << ", reason: " << exception.what();
    return {};
  }
}

std::vector<std::shared_ptr<const proto::TopologyState>> Manager::Snapshot() {
  {
    const std::lock_guard<std::mutex> lock(state_->mutex);
    if (!state_->peers) {
      state_->peers = std::make_unique<TopologyPeers>(topology_qos());
    }
  }
  return state_->peers->snapshot();
}

Membership& Membership::operator=(Membership&& other) noexcept {
  if (this != &other) {
    leave();
    std::swap(endpoint_id_, other.endpoint_id_);
  }
  return *this;
}

void Membership::leave() {
  if (endpoint_id_ != 0 && !in_forked_child()) {
    Manager::Instance()->state_->remove(std::exchange(endpoint_id_, 0));
  }
}

}  // namespace norvik::ovimux

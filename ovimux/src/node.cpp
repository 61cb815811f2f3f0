#include "ovimux/node.hpp"

#include "ovimux/dds/dds_tools.hpp"
#include "ovimux/role_attributes.pb.h"

namespace norvik::ovimux {
namespace {

// Adds an endpoint and forgets the ones of the same topic that are gone.
template <typename Map, typename Endpoint, typename Attributes>
void remember_in(Map& map, std::mutex& mutex, const std::string& topic, const Endpoint& endpoint,
                 Attributes attributes) {
  const std::lock_guard<std::mutex> lock(mutex);
  for (auto [it, end] = map.equal_range(topic); it != end;) {
    it = it->second.endpoint.expired() ? map.erase(it) : std::next(it);
  }
  map.insert({topic, {endpoint, std::move(attributes)}});
}

void describe_message(const std::string& message_type, proto::RoleAttributes& attributes) {
  attributes.set_message_type(message_type);
  ProtobufFactory::Instance(true)->GetDescriptorString(message_type, attributes.mutable_proto_desc());
}

}  // namespace

Node::Node(std::string name, std::string name_space)
    : name_(std::move(name)),
      name_space_(std::move(name_space)),
      id_(GlobalData::RegisterChannel(name_space_ + "/" + name_)) {}

Node::~Node() = default;

std::shared_ptr<proto::RoleAttributes> Node::describe(const std::string& topic, const std::string& message_type,
                                                      const Qos& qos) const {
  const auto* process = GlobalData::Instance(true);
  auto attributes = std::make_shared<proto::RoleAttributes>();
  attributes->set_host_name(process->host_name());
  attributes->set_host_ip(process->host_ip());
  attributes->set_process_id(process->process_id());
  attributes->set_node_name(name_);
  attributes->set_node_id(id_);
  attributes->set_channel_name(topic);
  attributes->set_channel_id(GlobalData::RegisterChannel(topic));
  attributes->set_channel_count(1);
  describe_message(message_type, *attributes);
  auto& profile = *attributes->mutable_qos_profile();
  profile.set_type(proto::PROFILE_INTRA_CORE);
  auto& intra_core = *profile.mutable_intra_core();
  intra_core.set_payload_kind(qos.payload_kind);
  intra_core.set_opaque_3(qos.opaque_3);
  intra_core.set_opaque_4(qos.opaque_4);
  intra_core.set_opaque_5(qos.opaque_5);
  intra_core.set_opaque_6(qos.opaque_6);
  intra_core.set_callback_mode(qos.callback_mode);
  return attributes;
}

std::shared_ptr<proto::RoleAttributes> Node::describe_client(const std::string& topic, const std::string& message_type,
                                                             const RpcQos& rpc_qos) const {
  Qos request;
  Qos response;
  DDSTools::Instance(true)->TransformQos(rpc_qos, request, response);
  auto attributes = describe(topic, message_type, request);
  attributes->set_channel_id(GlobalData::RegisterService(topic));
  attributes->mutable_qos_profile()->set_type(proto::PROFILE_RPC_INTRA_CORE);
  return attributes;
}

void Node::remember(const std::string& topic, const std::shared_ptr<WriterBase>& writer,
                    std::shared_ptr<const proto::RoleAttributes> attributes) {
  remember_in(writers_, writers_mutex_, topic, writer, std::move(attributes));
}

void Node::remember(const std::string& topic, const std::shared_ptr<ReaderBase>& reader,
                    std::shared_ptr<const proto::RoleAttributes> attributes) {
  remember_in(readers_, readers_mutex_, topic, reader, std::move(attributes));
}

void Node::remember(const std::string& topic, const std::shared_ptr<ClientBase>& client,
                    std::shared_ptr<const proto::RoleAttributes> attributes) {
  remember_in(clients_, clients_mutex_, topic, client, std::move(attributes));
}

std::shared_ptr<RawReader> Node::CreateReader(const std::string& topic, RawReaderCallback callback, const Qos& qos,
                                              const void* ctx, bool announce) {
  auto on_bytes = [callback = std::move(callback)](const std::shared_ptr<std::string>& bytes, const void* context) {
    callback(bytes->data(), static_cast<int>(bytes->size()), context);
  };
  return make_reader<std::string>(topic, std::move(on_bytes), qos, ctx, announce);
}

std::shared_ptr<RawWriter> Node::CreateWriter(const std::string& topic, const Qos& qos, bool announce) {
  return make_writer<std::string>(topic, qos, announce);
}

std::shared_ptr<RawClient> Node::CreateClient(const std::string& topic, const RpcQos& rpc_qos, bool announce) {
  return make_client<std::string, std::string>(topic, rpc_qos, announce);
}

std::unique_ptr<Node> CreateNode(const std::string& name, const std::string& name_space) {
  try {
    return std::make_unique<Node>(name, name_space);
  } catch (const std::bad_alloc&) {
    OVIMUX_LOG(kError) << "node could not be created, name: " << name;
    return nullptr;
  }
}

}  // namespace norvik::ovimux

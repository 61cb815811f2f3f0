#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <utility>

#include "ovimux/base/client_base.hpp"
#include "ovimux/base/raw_endpoints.hpp"
#include "ovimux/base/reader_base.hpp"
#include "ovimux/base/writer_base.hpp"
#include "ovimux/core/global_data.hpp"
#include "ovimux/core/manager.hpp"
#include "ovimux/core/protobuf_factory.hpp"
#include "ovimux/core/statistics.hpp"
#include "ovimux/dds/dds_data_client.hpp"
#include "ovimux/dds/dds_data_reader.hpp"
#include "ovimux/dds/dds_data_writer.hpp"
#include "ovimux/export.hpp"
#include "ovimux/log.hpp"
#include "ovimux/qos.hpp"

namespace norvik::ovimux {

// A named owner of endpoints. Callers own the endpoints through the returned pointers; the node only remembers them.
// Endpoints may be created from any thread and may outlive their node.
class OVIMUX_EXPORT Node {
 public:
  Node(std::string name, std::string name_space);
  ~Node();
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  const std::string& name() const { return name_; }

  // Each Create... returns an empty pointer on failure: a core_kind other than 0, or a refusal by DDS.
  template <typename T>
  std::shared_ptr<SerializationWriter<T>> CreateWriter(const std::string& topic, const Qos& qos);

  template <typename T>
  using ReaderCallback = std::function<void(const std::shared_ptr<T>&, const void*)>;

  // `callback` runs on the worker pool, never on two threads at once for one reader; `ctx` is handed back to it.
  template <typename T>
  std::shared_ptr<SerializationReader<T>> CreateReader(const std::string& topic, ReaderCallback<T> callback,
                                                       const Qos& qos, const void* ctx = nullptr);

  template <typename Req, typename Resp>
  std::shared_ptr<SerializationClient<Req, Resp>> CreateClient(const std::string& topic, const RpcQos& rpc_qos);

  // Readers, writers and clients of bytes that are no Protocol Buffers message (JSON, binary boxes). The last argument
  // says whether the endpoint is announced to the topology.
  std::shared_ptr<RawReader> CreateReader(const std::string& topic, RawReaderCallback callback, const Qos& qos,
                                          const void* ctx, bool announce);
  std::shared_ptr<RawWriter> CreateWriter(const std::string& topic, const Qos& qos, bool announce);
  std::shared_ptr<RawClient> CreateClient(const std::string& topic, const RpcQos& rpc_qos, bool announce);

 private:
  template <typename Endpoint>
  struct Remembered {
    std::weak_ptr<Endpoint> endpoint;
    std::shared_ptr<const proto::RoleAttributes> attributes;
  };
  template <typename Endpoint>
  using EndpointMap = std::multimap<std::string, Remembered<Endpoint>>;

  // Names the endpoint, its message type and its quality for the topology.
  template <typename T>
  std::shared_ptr<proto::RoleAttributes> FillInAttr(const std::string& topic, const Qos& qos) const;
  template <typename Req, typename Resp>
  std::shared_ptr<proto::RoleAttributes> FillInAttr(const std::string& topic, const RpcQos& rpc_qos) const;
  std::shared_ptr<proto::RoleAttributes> describe(const std::string& topic, const std::string& message_type,
                                                  const Qos& qos) const;
  std::shared_ptr<proto::RoleAttributes> describe_client(const std::string& topic, const std::string& message_type,
                                                         const RpcQos& rpc_qos) const;

  template <typename T>
  std::shared_ptr<SerializationWriter<T>> make_writer(const std::string& topic, const Qos& qos, bool announce);
  template <typename T>
  std::shared_ptr<SerializationReader<T>> make_reader(const std::string& topic, ReaderCallback<T> callback,
                                                      const Qos& qos, const void* ctx, bool announce);
  template <typename Req, typename Resp>
  std::shared_ptr<SerializationClient<Req, Resp>> make_client(const std::string& topic, const RpcQos& rpc_qos,
                                                              bool announce);

  void remember(const std::string& topic, const std::shared_ptr<WriterBase>& writer,
                std::shared_ptr<const proto::RoleAttributes> attributes);
  void remember(const std::string& topic, const std::shared_ptr<ReaderBase>& reader,
                std::shared_ptr<const proto::RoleAttributes> attributes);
  void remember(const std::string& topic, const std::shared_ptr<ClientBase>& client,
                std::shared_ptr<const proto::RoleAttributes> attributes);

  const std::string name_;
  const std::string name_space_;
  const uint64_t id_;
  std::mutex writers_mutex_;
  EndpointMap<WriterBase> writers_;
  std::mutex readers_mutex_;
  EndpointMap<ReaderBase> readers_;
  std::mutex clients_mutex_;
  EndpointMap<ClientBase> clients_;
};

// Never fails but for lack of memory, which gives an empty pointer. Endpoints open DDS lazily.
OVIMUX_EXPORT std::unique_ptr<Node> CreateNode(const std::string& name, const std::string& name_space);

// The numbers of proto::RoleType, which these headers do not include.
inline constexpr int kWriterRole = 2;
inline constexpr int kReaderRole = 3;
inline constexpr int kClientRole = 5;

template <typename T>
std::shared_ptr<proto::RoleAttributes> Node::FillInAttr(const std::string& topic, const Qos& qos) const {
  return describe(topic, PayloadCodec<T>::type_name(), qos);
}

template <typename Req, typename Resp>
std::shared_ptr<proto::RoleAttributes> Node::FillInAttr(const std::string& topic, const RpcQos& rpc_qos) const {
  return describe_client(topic, PayloadCodec<Req>::type_name(), rpc_qos);
}

template <typename T>
std::shared_ptr<SerializationWriter<T>> Node::make_writer(const std::string& topic, const Qos& qos, bool announce) {
  if (qos.core_kind != 0) {
    OVIMUX_LOG(kInfo) << "InterCore: CreateSerializationWriter to be supported.";
    return nullptr;
  }
  const auto writer = std::make_shared<DDSSerializationDataWriter<T>>(topic, qos);
  if (!writer->is_open()) {
    return nullptr;
  }
  const auto attributes = FillInAttr<T>(topic, qos);
  writer->set_membership(Manager::Instance()->Join(*attributes, kWriterRole, announce));
  remember(topic, std::shared_ptr<WriterBase>(writer), attributes);
  return writer;
}

template <typename T>
std::shared_ptr<SerializationReader<T>> Node::make_reader(const std::string& topic, ReaderCallback<T> callback,
                                                          const Qos& qos, const void* ctx, bool announce) {
  Statistics::Instance().create_channel_statistics(topic, kReaderChannel);
  if (qos.core_kind != 0) {
    OVIMUX_LOG(kInfo) << "InterCore: CreateSerializationReader to be supported.";
    return nullptr;
  }
  const auto reader = std::make_shared<DDSSerializationDataReader<T>>(topic, std::move(callback), qos, ctx);
  if (!reader->is_open()) {
    return nullptr;
  }
  const auto attributes = FillInAttr<T>(topic, qos);
  reader->set_membership(Manager::Instance()->Join(*attributes, kReaderRole, announce));
  remember(topic, std::shared_ptr<ReaderBase>(reader), attributes);
  return reader;
}

template <typename Req, typename Resp>
std::shared_ptr<SerializationClient<Req, Resp>> Node::make_client(const std::string& topic, const RpcQos& rpc_qos,
                                                                  bool announce) {
  Statistics::Instance().create_channel_statistics(topic + RPC_CHANNEL_RES_SUFFIX, kClientChannel);
  if (rpc_qos.core_kind != 0) {
    OVIMUX_LOG(kInfo) << "InterCore: CreateSerializationClient to be supported.";
    return nullptr;
  }
  const auto client = std::make_shared<DDSSerializationDataClient<Req, Resp>>(topic, rpc_qos);
  if (!client->Init()) {
    return nullptr;
  }
  const auto attributes = FillInAttr<Req, Resp>(topic, rpc_qos);
  client->set_membership(Manager::Instance()->Join(*attributes, kClientRole, announce));
  remember(topic, std::shared_ptr<ClientBase>(client), attributes);
  return client;
}

template <typename T>
std::shared_ptr<SerializationWriter<T>> Node::CreateWriter(const std::string& topic, const Qos& qos) {
  return make_writer<T>(topic, qos, true);
}

template <typename T>
std::shared_ptr<SerializationReader<T>> Node::CreateReader(const std::string& topic, ReaderCallback<T> callback,
                                                           const Qos& qos, const void* ctx) {
  return make_reader<T>(topic, std::move(callback), qos, ctx, true);
}

template <typename Req, typename Resp>
std::shared_ptr<SerializationClient<Req, Resp>> Node::CreateClient(const std::string& topic, const RpcQos& rpc_qos) {
  return make_client<Req, Resp>(topic, rpc_qos, true);
}

}  // namespace norvik::ovimux

#include <chrono>
#include <cstring>

#include "norvik/core_proto/wrapper.pb.h"
#include "ovimux/dds/bulk_message.hpp"
#include "ovimux/dds/service_server_base.hpp"
#include "ovimux/node.hpp"
#include "ovimux/ovimux.hpp"
#include "stack.hpp"

namespace norvik::benchmarks {
namespace {

using core_proto::BytesValue;

ovimux::Qos qos_for(size_t size) {
  ovimux::Qos qos;
  qos.payload_kind = size > kLargestSmallSize ? ovimux::kLargePayloadKind : 0;
  return qos;
}

class OvimuxPublisher : public NumberPublisher {
 public:
  OvimuxPublisher(ovimux::Node& node, const std::string& topic, size_t size)
      : writer_(node.CreateWriter<BytesValue>(topic, qos_for(size))) {
    message_->mutable_value()->assign(size, 'x');
  }

  bool send(int64_t number) override {
    std::memcpy(message_->mutable_value()->data(), &number, sizeof(number));
    return writer_->Publish(message_);
  }

 private:
  std::shared_ptr<ovimux::SerializationWriter<BytesValue>> writer_;
  std::shared_ptr<BytesValue> message_ = std::make_shared<BytesValue>();
};

// Large samples travel as pictures and clouds do.
using BulkBytes = ovimux::BulkMessage<BytesValue, BytesValue::kValueFieldNumber>;

const void* bytes_of(const BytesValue& message) { return message.value().data(); }
const void* bytes_of(const BulkBytes& message) { return message.bulk.data(); }

template <typename Message>
class OvimuxSubscription : public Subscription {
 public:
  OvimuxSubscription(ovimux::Node& node, const std::string& topic, size_t size, std::function<void(int64_t)> callback)
      : reader_(node.CreateReader<Message>(
            topic,
            [callback = std::move(callback)](const std::shared_ptr<Message>& message, const void*) {
              int64_t number = 0;
              std::memcpy(&number, bytes_of(*message), sizeof(number));
              callback(number);
            },
            qos_for(size))) {}

 private:
  std::shared_ptr<ovimux::SerializationReader<Message>> reader_;
};

class OvimuxEchoServer : public Subscription {
 public:
  explicit OvimuxEchoServer(const std::string& service)
      : server_(service, ovimux::RpcQos{},
                [this](const ovimux::RequestContext& context, const std::vector<uint8_t>& request) {
                  server_.Reply(context, std::string(request.begin(), request.end()));
                }) {}

 private:
  ovimux::ServiceServerBase server_;
};

class OvimuxEchoClient : public EchoClient {
 public:
  OvimuxEchoClient(ovimux::Node& node, const std::string& service, size_t size)
      : client_(node.CreateClient<BytesValue, BytesValue>(service, ovimux::RpcQos{})) {
    request_->mutable_value()->assign(size, 'x');
    client_->WaitForServerConnected(std::chrono::seconds(10));
  }

  bool call() override { return client_->SendRequest(request_, std::chrono::seconds(5)) != nullptr; }

 private:
  std::shared_ptr<ovimux::SerializationClient<BytesValue, BytesValue>> client_;
  std::shared_ptr<BytesValue> request_ = std::make_shared<BytesValue>();
};

class OvimuxStack : public Stack {
 public:
  OvimuxStack() {
    ovimux::OvimuxInit();
    node_ = ovimux::CreateNode("benchmark", "");
  }

  std::unique_ptr<NumberPublisher> publisher(const std::string& topic, size_t size) override {
    return std::make_unique<OvimuxPublisher>(*node_, topic, size);
  }
  std::unique_ptr<Subscription> subscribe(const std::string& topic, size_t size,
                                          std::function<void(int64_t)> callback) override {
    if (size > kLargestSmallSize) {
      return std::make_unique<OvimuxSubscription<BulkBytes>>(*node_, topic, size, std::move(callback));
    }
    return std::make_unique<OvimuxSubscription<BytesValue>>(*node_, topic, size, std::move(callback));
  }
  std::unique_ptr<Subscription> echo_server(const std::string& service) override {
    return std::make_unique<OvimuxEchoServer>(service);
  }
  std::unique_ptr<EchoClient> echo_client(const std::string& service, size_t size) override {
    return std::make_unique<OvimuxEchoClient>(*node_, service, size);
  }

 private:
  std::unique_ptr<ovimux::Node> node_;
};

}  // namespace

std::unique_ptr<Stack> make_ovimux_stack() { return std::make_unique<OvimuxStack>(); }

std::unique_ptr<Stack> make_stack(const std::string& name) {
  return name == "raw" ? make_raw_stack() : make_ovimux_stack();
}

int64_t now_ns() { return std::chrono::steady_clock::now().time_since_epoch().count(); }

}  // namespace norvik::benchmarks

#include "ovimux/tf2_ovimux/transform_listener.hpp"

#include <iostream>
#include <utility>

#include "ovimux/log.hpp"
#include "ovimux/node.hpp"
#include "ovimux/qos.hpp"

namespace norvik::ovimux::tf2_ovimux {
namespace {

using tf2_proto::TF2Message;

constexpr const char* kDynamicTopic = "/ovimux_tf";
constexpr const char* kStaticTopic = "/ovimux_tf_static";

Qos static_qos() {
  Qos qos;
  qos.opaque_5 = 5;
  qos.opaque_6 = 1;
  return qos;
}

void feed(Buffer* buffer, const TF2Message* message, bool is_static) {
  if (buffer == nullptr || message == nullptr) {
    return;
  }
  for (const spatial_proto::TransformMsg& transform : message->transforms()) {
    buffer->setTransform(transform, is_static);
  }
}

// The callback holds the buffer weakly and not the listener: a late message finds nothing to touch.
std::shared_ptr<SerializationReader<TF2Message>> subscribe(Node& node, const char* topic, const Qos& qos,
                                                           const std::shared_ptr<Buffer>& buffer, bool is_static) {
  const auto callback = [weak_buffer = std::weak_ptr<Buffer>(buffer), is_static](
                            const std::shared_ptr<TF2Message>& message, const void*) {
    feed(weak_buffer.lock().get(), message.get(), is_static);
  };
  auto reader = node.CreateReader<TF2Message>(topic, callback, qos);
  if (!reader) {
    OVIMUX_LOG(kError) << "TransformListener: no reader of " << topic;
  }
  return reader;
}

}  // namespace

TransformListener::TransformListener(std::shared_ptr<Buffer> buffer, Node* node) : buffer_(std::move(buffer)) {
  if (node == nullptr) {
    std::cout << "TransformListener node empty, create failed." << std::endl;
    return;
  }
  dynamic_reader_ = subscribe(*node, kDynamicTopic, Qos(), buffer_, false);
  static_reader_ = subscribe(*node, kStaticTopic, static_qos(), buffer_, true);
}

TransformListener::~TransformListener() = default;

void TransformListener::dynamic_subscription_callback(const std::shared_ptr<TF2Message>& message) {
  feed(buffer_.get(), message.get(), false);
}

void TransformListener::static_subscription_callback(const std::shared_ptr<TF2Message>& message) {
  feed(buffer_.get(), message.get(), true);
}

}  // namespace norvik::ovimux::tf2_ovimux

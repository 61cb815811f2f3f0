#pragma once

#include <memory>

#include "norvik/tf2_proto/tf2_message.pb.h"
#include "ovimux/base/reader_base.hpp"
#include "ovimux/export.hpp"
#include "ovimux/tf2_ovimux/buffer.hpp"

namespace norvik::ovimux {

class Node;

namespace tf2_ovimux {

// Feeds a buffer from the transform topics "/ovimux_tf" and "/ovimux_tf_static" for as long as it lives. Destroying it
// waits for a callback that is running.
class OVIMUX_EXPORT TransformListener {
 public:
  // Subscribes both topics on `node`, which is not used after construction. Without a node it says so on the standard
  // output and has no readers; the callbacks below still work.
  TransformListener(std::shared_ptr<Buffer> buffer, Node* node);
  ~TransformListener();
  TransformListener(const TransformListener&) = delete;
  TransformListener& operator=(const TransformListener&) = delete;

  // Store each transform of the message, skipping those that the buffer refuses. An empty pointer is ignored.
  void dynamic_subscription_callback(const std::shared_ptr<tf2_proto::TF2Message>& message);
  void static_subscription_callback(const std::shared_ptr<tf2_proto::TF2Message>& message);

 private:
  const std::shared_ptr<Buffer> buffer_;
  std::shared_ptr<SerializationReader<tf2_proto::TF2Message>> dynamic_reader_;
  std::shared_ptr<SerializationReader<tf2_proto::TF2Message>> static_reader_;
};

}  // namespace tf2_ovimux
}  // namespace norvik::ovimux

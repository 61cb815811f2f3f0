#pragma once

#include <memory>

#include "ovimux/export.hpp"

namespace norvik::ovimux {

// Root of all writers.
class OVIMUX_EXPORT WriterBase {
 public:
  WriterBase() = default;
  virtual ~WriterBase();
  WriterBase(const WriterBase&) = delete;
  WriterBase& operator=(const WriterBase&) = delete;
};

// Publishes messages of one Protocol Buffers type on one topic.
template <typename T>
class SerializationWriter : public WriterBase {
 public:
  // Copies `message` and publishes the copy.
  virtual bool Publish(const T& message) = 0;

  // Serialises and sends `message`. False, with one log record, when the middleware is shut down, the message is too
  // large for the topic's envelope, or DDS refuses the sample. Never queues and never retries.
  virtual bool Publish(const std::shared_ptr<T>& message) = 0;
};

}  // namespace norvik::ovimux

#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "ovimux/base/writer_base.hpp"
#include "ovimux/core/manager.hpp"
#include "ovimux/dds/dds_node_factory.hpp"
#include "ovimux/export.hpp"
#include "ovimux/log.hpp"

namespace norvik::ovimux {

// The DDS writer and the running numbers of a writer template.
class OVIMUX_EXPORT DDSDataWriterBase {
 public:
  DDSDataWriterBase(const std::string& topic, const Qos& qos);
  ~DDSDataWriterBase();
  DDSDataWriterBase(const DDSDataWriterBase&) = delete;
  DDSDataWriterBase& operator=(const DDSDataWriterBase&) = delete;

  bool is_open() const { return writer_ != nullptr; }
  // Readers that get what is published now; 0 for a writer that is not open. Does not block.
  unsigned matched_reader_count() const { return matched_readers_->load(); }

 protected:
  DDSNodeFactory* const factory_;
  const std::shared_ptr<std::atomic<unsigned>> matched_readers_ = std::make_shared<std::atomic<unsigned>>(0);
  DataWriter* writer_;
  std::atomic<uint32_t> seq_{0};
  const int token_;
  const int tid_;
};

// A writer of T over DDS.
template <typename T>
class DDSSerializationDataWriter : public SerializationWriter<T>, public DDSDataWriterBase {
 public:
  using DDSDataWriterBase::DDSDataWriterBase;

  bool Publish(const T& message) override {
    if (writer_ == nullptr) {
      OVIMUX_LOG(kError) << "DDSSerializationDataWriter is empty, publish data failed";
      return false;
    }
    return Publish(std::make_shared<T>(message));
  }

  bool Publish(const std::shared_ptr<T>& message) override {
    if (writer_ == nullptr) {
      OVIMUX_LOG(kError) << "DDSDataWriter: writer nullptr";
      return false;
    }
    if (!message) {
      OVIMUX_LOG(kError) << "DDSSerializationDataWriter: message nullptr";
      return false;
    }
    return factory_->Publish<T>(writer_, message, ++seq_, 0, token_, tid_);
  }

  void set_membership(Membership membership) { membership_ = std::move(membership); }

 private:
  Membership membership_;
};

}  // namespace norvik::ovimux

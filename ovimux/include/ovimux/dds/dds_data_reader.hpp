#pragma once

#include <memory>
#include <string>
#include <utility>

#include "ovimux/base/reader_base.hpp"
#include "ovimux/core/manager.hpp"
#include "ovimux/dds/dds_node_factory.hpp"
#include "ovimux/dds/dds_sub_listener.hpp"

namespace norvik::ovimux {

// A reader of T over DDS.
template <typename T>
class DDSSerializationDataReader : public SerializationReader<T> {
 public:
  using Listener = DDSSubSerializationListener<T>;
  using Callback = typename Listener::Callback;

  DDSSerializationDataReader(const std::string& topic, Callback callback, const Qos& qos, const void* ctx)
      : factory_(DDSNodeFactory::Instance(true)),
        listener_(std::make_shared<Listener>(topic, std::move(callback), qos, ctx)) {
    listener_->PostConstructInit();
    listener_->set_task();
    // Last, so that no sample arrives before the pipeline is whole.
    reader_ = factory_->CreateReader(topic, dds_listener_of(listener_), qos, ctx);
  }

  ~DDSSerializationDataReader() override {
    factory_->DeleteReader(reader_, true);
    listener_->close();
  }

  bool is_open() const { return reader_ != nullptr; }

  bool SyncOnce() override { return listener_->SyncOnce(); }
  bool SyncAll() override { return listener_->SyncAll(); }
  bool CallbackModeIsAuto() override { return listener_->CallbackModeIsAuto(); }

  void set_membership(Membership membership) { membership_ = std::move(membership); }

 private:
  DDSNodeFactory* const factory_;
  std::shared_ptr<Listener> listener_;
  DataReader* reader_ = nullptr;
  Membership membership_;
};

}  // namespace norvik::ovimux

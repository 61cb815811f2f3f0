#include "ovimux/dds/dds_node_factory.hpp"

#include <fastdds/dds/publisher/DataWriterListener.hpp>
#include <fastdds/dds/subscriber/DataReaderListener.hpp>
#include <fastdds/rtps/common/WriteParams.h>

#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include <boost/thread/lock_types.hpp>
#include <boost/thread/shared_mutex.hpp>

#include "dds/dds_identity.hpp"
#include "dds/dds_thread.hpp"
#include "dds/domain_entities.hpp"
#include "dds/entity_state.hpp"
#include "dds/participant.hpp"
#include "dds/transport/address_watch.hpp"
#include "ovimux/core/global_data.hpp"
#include "ovimux/core/shutdown_tasks.hpp"
#include "ovimux/dds/dds_tools.hpp"
#include "ovimux/log.hpp"
#include "ovimux/ovimux.hpp"

namespace norvik::ovimux {

struct DataWriter {
  DataWriter(std::string name, const Qos& its_qos, std::shared_ptr<DataWriterListener> its_listener)
      : topic(std::move(name)), qos(its_qos), listener(std::move(its_listener)) {}

  bool is_large() const { return qos.payload_kind == kLargePayloadKind; }

  const std::string topic;
  const Qos qos;
  const std::shared_ptr<DataWriterListener> listener;
  std::mutex mutex;                      // Held while a sample is written. Guards what follows.
  dds::DataWriter* entity = nullptr;     // Null only when DDS has refused to replace it.
  std::optional<Envelope> last_latched;  // Published again by the entity that replaces this one.
};

struct DataReader {
  DataReader(std::string name, const Qos& its_qos, std::shared_ptr<DataReaderListener> its_listener)
      : topic(std::move(name)), qos(its_qos), listener(std::move(its_listener)) {}

  const std::string topic;
  const Qos qos;
  const std::shared_ptr<DataReaderListener> listener;
  dds::DataReader* entity = nullptr;  // Null only when DDS has refused to replace it.
};

// One mutex guards creating and deleting of everything here. A writer's own mutex is taken after it.
struct DDSNodeFactory::Entities {
  using Writers = std::unordered_map<DataWriter*, std::shared_ptr<DataWriter>>;
  using Readers = std::unordered_map<DataReader*, std::unique_ptr<DataReader>>;

  std::mutex mutex;
  DomainEntities domain;
  Readers readers;
  std::unique_ptr<AddressWatch> address_watch;
  bool closed = false;

  // What the sending threads look up, under a lock of its own. Changed with both locks held.
  boost::shared_mutex writer_map_mutex;
  Writers writer_map;

  bool open();
  bool make(DataWriter& writer);
  bool make(DataReader& reader);
  std::shared_ptr<DataWriter> take(DataWriter* writer);
  void take_down(const Writers& writers);
  bool bring_up();
};

namespace {

template <typename Listener>
EntityState* state_of(const std::shared_ptr<Listener>& listener) {
  return dynamic_cast<EntityState*>(listener.get());
}

template <typename Endpoints>
void silence(const Endpoints& endpoints) {
  for (const auto& [handle, endpoint] : endpoints) {
    if (endpoint->entity != nullptr) {
      endpoint->entity->set_listener(nullptr);
    }
  }
}

template <typename Endpoints>
void forget_entities(const Endpoints& endpoints) {
  for (const auto& [handle, endpoint] : endpoints) {
    endpoint->entity = nullptr;
    if (auto* const state = state_of(endpoint->listener)) {
      state->on_entity_gone();
    }
  }
}

// Waits for the writes under way, and lets none begin.
template <typename Writers>
std::vector<std::unique_lock<std::mutex>> hold(const Writers& writers) {
  std::vector<std::unique_lock<std::mutex>> held;
  held.reserve(writers.size());
  for (const auto& [handle, writer] : writers) {
    held.emplace_back(writer->mutex);
  }
  return held;
}

// On the thread of the address watch.
bool renew_for(const std::string& addresses) {
  OVIMUX_LOG(kWarning) << "this machine has a new network address, " << addresses
                       << ": connecting to all peers anew, requests under way end in a time-out";
  return DDSNodeFactory::Instance()->Renew();
}

}  // namespace

bool DDSNodeFactory::Entities::open() {
  if (closed) {
    return false;
  }
  if (!domain.is_open() && !address_watch && !participant_settings().localhost_only) {
    address_watch = std::make_unique<AddressWatch>(renew_for);  // Before the addresses are read.
  }
  return domain.open();
}

bool DDSNodeFactory::Entities::make(DataWriter& writer) {
  writer.entity = domain.make_writer(writer.topic, writer.listener.get(), DDSTools::PolicyOf(writer.qos));
  if (writer.entity == nullptr) {
    return false;
  }
  if (auto* const state = state_of(writer.listener)) {
    state->on_writer_made(writer.entity->guid());
  }
  if (writer.last_latched) {
    writer.entity->write(&*writer.last_latched);
  }
  return true;
}

bool DDSNodeFactory::Entities::make(DataReader& reader) {
  reader.entity = domain.make_reader(reader.topic, reader.listener.get(), DDSTools::PolicyOf(reader.qos));
  return reader.entity != nullptr;
}

// Null when the handle is unknown. Nobody waits for the writer's mutex any more.
std::shared_ptr<DataWriter> DDSNodeFactory::Entities::take(DataWriter* writer) {
  const boost::unique_lock<boost::shared_mutex> map_lock(writer_map_mutex);
  const auto it = writer_map.find(writer);
  if (it == writer_map.end()) {
    return nullptr;
  }
  auto taken = std::move(it->second);
  writer_map.erase(it);
  return taken;
}

// Deletes all that DDS has of this process. The caller holds the writers.
void DDSNodeFactory::Entities::take_down(const Writers& writers) {
  silence(writers);
  silence(readers);
  domain.close();
  forget_entities(writers);
  forget_entities(readers);
}

// Makes what is missing.
bool DDSNodeFactory::Entities::bring_up() {
  if (!open()) {
    return false;
  }
  bool whole = true;
  for (const auto& [handle, writer] : writer_map) {
    whole = (writer->entity != nullptr || make(*writer)) && whole;
  }
  for (const auto& [handle, reader] : readers) {
    whole = (reader->entity != nullptr || make(*reader)) && whole;
  }
  return whole;
}

DDSNodeFactory* DDSNodeFactory::Instance(bool /*create*/) {
  static auto* const instance = new DDSNodeFactory;
  return instance;
}

DDSNodeFactory::DDSNodeFactory() : entities_(new Entities) {}

DataWriter* DDSNodeFactory::CreateWriter(const std::string& topic, std::shared_ptr<DataWriterListener> listener,
                                         const Qos& qos) {
  const auto writer = std::make_shared<DataWriter>(topic, qos, std::move(listener));
  const std::lock_guard<std::mutex> lock(entities_->mutex);
  if (!entities_->open() || !entities_->make(*writer)) {
    return nullptr;
  }
  const boost::unique_lock<boost::shared_mutex> map_lock(entities_->writer_map_mutex);
  entities_->writer_map[writer.get()] = writer;
  return writer.get();
}

DataReader* DDSNodeFactory::CreateReader(const std::string& topic, std::shared_ptr<DataReaderListener> listener,
                                         const Qos& qos, const void* /*ctx*/) {
  auto reader = std::make_unique<DataReader>(topic, qos, std::move(listener));
  const std::lock_guard<std::mutex> lock(entities_->mutex);
  if (!entities_->open() || !entities_->make(*reader)) {
    return nullptr;
  }
  auto* const handle = reader.get();
  entities_->readers[handle] = std::move(reader);
  return handle;
}

void DDSNodeFactory::DeleteWriter(DataWriter*& writer, bool /*wait*/) {
  run_off_dds_threads([this, writer] {
    const std::lock_guard<std::mutex> lock(entities_->mutex);
    const auto taken = entities_->take(writer);
    if (taken == nullptr) {
      return;
    }
    const std::lock_guard<std::mutex> writer_lock(taken->mutex);  // A write under way ends first.
    if (taken->entity != nullptr) {
      entities_->domain.remove(*taken->entity);
    }
  });
  writer = nullptr;
}

void DDSNodeFactory::DeleteReader(DataReader*& reader, bool /*wait*/) {
  run_off_dds_threads([this, reader] {
    std::unique_ptr<DataReader> taken;  // Its listener dies after the lock is released.
    const std::lock_guard<std::mutex> lock(entities_->mutex);
    const auto it = entities_->readers.find(reader);
    if (it == entities_->readers.end()) {
      return;
    }
    taken = std::move(it->second);
    entities_->readers.erase(it);
    if (taken->entity != nullptr) {
      entities_->domain.remove(*taken->entity);
    }
  });
  reader = nullptr;
}

bool DDSNodeFactory::Renew() {
  const std::lock_guard<std::mutex> lock(entities_->mutex);
  if (entities_->closed || !OK() || (entities_->writer_map.empty() && entities_->readers.empty())) {
    return true;
  }
  const auto held = hold(entities_->writer_map);
  entities_->take_down(entities_->writer_map);
  return entities_->bring_up();
}

void DDSNodeFactory::CloseAll() {
  std::unique_ptr<AddressWatch> watch;
  {
    const std::lock_guard<std::mutex> lock(entities_->mutex);
    entities_->closed = true;
    watch.swap(entities_->address_watch);
  }
  watch.reset();              // Waits for a renewal under way, which needs the lock.
  Entities::Writers writers;  // Their listeners, and those of the readers, die after the lock is released.
  Entities::Readers readers;
  const std::lock_guard<std::mutex> lock(entities_->mutex);
  {
    const boost::unique_lock<boost::shared_mutex> map_lock(entities_->writer_map_mutex);
    writers.swap(entities_->writer_map);
  }
  const auto held = hold(writers);
  entities_->take_down(writers);
  readers.swap(entities_->readers);
}

bool DDSNodeFactory::lock_writer(DataWriter* writer, std::shared_ptr<DataWriter>& entry,
                                 std::unique_lock<std::mutex>& lock) {
  if (!may_send()) {
    OVIMUX_LOG(kInfo) << "DDSNodeFactory: ovimux state is shutdown";
    return false;
  }
  if (writer == nullptr) {
    OVIMUX_LOG(kError) << "DDSNodeFactory: writer is nullptr";
    return false;
  }
  const boost::shared_lock<boost::shared_mutex> map_lock(entities_->writer_map_mutex);
  const auto it = entities_->writer_map.find(writer);
  if (it == entities_->writer_map.end()) {
    OVIMUX_LOG(kError) << "DDSNodeFactory: writer not found in writer_map_";
    return false;
  }
  entry = it->second;
  // Taken while the map is still locked, so that the writer cannot vanish in between.
  lock = std::unique_lock<std::mutex>(entry->mutex);
  return true;
}

void DDSNodeFactory::log_start(const DataWriter& writer, const SampleHeader& header) {
  OVIMUX_LOG(kDebug) << (writer.is_large() ? "DDSNodeFactory: large data publish" : "64k data publish")
                     << ", topic: " << writer.topic << ", index: " << header.seq << ", token: " << header.token;
}

namespace {

bool write_sample(dds::DataWriter* entity, Envelope& envelope, const SampleIdentity* related) {
  if (entity == nullptr || related == nullptr) {
    return entity != nullptr && entity->write(&envelope);
  }
  eprosima::fastrtps::rtps::WriteParams params;
  params.related_sample_identity(to_dds(*related));
  return entity->write(&envelope, params);
}

// With bytes of its own: what `envelope` was written from belongs to the caller.
void keep_if_latched(DataWriter& writer, Envelope envelope) {
  if (!DDSTools::PolicyOf(writer.qos).latched) {
    return;
  }
  envelope.raw_data.resize(static_cast<size_t>(envelope.pkg_len));
  if (std::exchange(envelope.source, nullptr)->write_to(envelope.raw_data.data(), envelope.raw_data.size())) {
    writer.last_latched = std::move(envelope);
  }
}

}  // namespace

bool DDSNodeFactory::publish_encoded(DataWriter& writer, const SampleHeader& header, const EncodedMessage& message) {
  const std::string& topic = writer.topic;
  const auto len = static_cast<int32_t>(message.size);
  if (len > (writer.is_large() ? kLargePayloadBound : kSmallPayloadBound)) {
    OVIMUX_LOG(kError) << "DDSNodeFactory: write len out of " << (writer.is_large() ? "10m" : "64k")
                       << " bound, len: " << len << ", topic: " << topic;
    return false;
  }
  DataTimestamp now;
  GlobalData::GetTimeStamp(&now);
  Envelope envelope;
  envelope.timestamp_sec = now.sec;
  envelope.timestamp_nsec = now.nsec;
  envelope.seq = header.seq;
  envelope.pid = GlobalData::Instance()->process_id();
  envelope.tid = header.tid;
  envelope.token = header.token;
  envelope.rpc_seq = header.rpc_seq;
  envelope.pkg_len = len;
  envelope.source = &message.source;
  if (!message.can_encode || len < 0) {  // Negative: more than 2 GB, which no message can serialise.
    OVIMUX_LOG(kError) << "DDSSerializationDataWriter serialization failed. topic: " << topic;
    return false;
  }
  if (!may_send()) {
    OVIMUX_LOG(kInfo) << "DDSNodeFactory: ovimux state is shutdown, topic: " << topic;
    return false;
  }
  OVIMUX_LOG(kDebug) << "Writer publish data, topic: " << topic << ", index: " << header.seq
                     << ", token: " << header.token << ", timestamp_sec: " << now.sec
                     << ", timestamp_nsec: " << now.nsec << ", crc: " << envelope.crc;
  const bool written = write_sample(writer.entity, envelope, header.related);
  if (!written) {
    OVIMUX_LOG(kError) << "Writer dds publish failed, topic: " << topic << ", index: " << header.seq
                       << ", token: " << header.token << ", res: 0";
    return false;
  }
  keep_if_latched(writer, envelope);
  OVIMUX_LOG(kDebug) << "Writer publish done, topic: " << topic << ", index: " << header.seq
                     << ", token: " << header.token << ", res: 1";
  return true;
}

}  // namespace norvik::ovimux

#include "ovimux/dds/dds_node_factory.hpp"

#include <fastdds/dds/publisher/DataWriter.hpp>
#include <fastdds/dds/publisher/DataWriterListener.hpp>
#include <fastdds/dds/publisher/Publisher.hpp>
#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/DataReaderListener.hpp>
#include <fastdds/dds/subscriber/Subscriber.hpp>
#include <fastdds/dds/topic/Topic.hpp>
#include <fastdds/rtps/common/WriteParams.h>

#include <unordered_map>
#include <utility>
#include <vector>

#include <boost/thread/lock_types.hpp>
#include <boost/thread/shared_mutex.hpp>

#include "core/exit_handler.hpp"
#include "dds/dds_identity.hpp"
#include "dds/dds_statics.hpp"
#include "dds/dds_thread.hpp"
#include "dds/endpoint_qos.hpp"
#include "dds/envelope/envelope_type.hpp"
#include "dds/participant.hpp"
#include "dds/transport/address_watch.hpp"
#include "ovimux/core/global_data.hpp"
#include "ovimux/core/shutdown_tasks.hpp"
#include "ovimux/dds/dds_tools.hpp"
#include "ovimux/log.hpp"
#include "ovimux/ovimux.hpp"

namespace norvik::ovimux {

using eprosima::fastdds::dds::DomainParticipant;
using eprosima::fastdds::dds::DomainParticipantFactory;
using eprosima::fastdds::dds::Publisher;
using eprosima::fastdds::dds::Subscriber;
using eprosima::fastdds::dds::Topic;
using eprosima::fastdds::dds::TypeSupport;

// The participant and what hangs on it. One mutex guards creating and deleting of everything here: in this version of
// Fast DDS a reader that is created while a writer is deleted, or the reverse, ends in a segmentation fault.
struct DDSNodeFactory::Entities {
  struct TopicUse {
    Topic* topic = nullptr;
    int users = 0;
  };
  struct ReaderEntry {
    Topic* topic = nullptr;
    std::shared_ptr<DataReaderListener> listener;
  };

  std::mutex mutex;
  // Held for the life of the process, so that the DDS library's own singleton outlives every user of it.
  std::shared_ptr<DomainParticipantFactory> factory;
  DomainParticipant* participant = nullptr;
  Publisher* publisher = nullptr;
  Subscriber* subscriber = nullptr;
  std::unordered_map<std::string, TopicUse> topics;
  std::unordered_map<DataReader*, ReaderEntry> readers;
  std::unique_ptr<AddressWatch> address_watch;
  bool closed = false;

  // What the sending threads look up, under a lock of its own.
  boost::shared_mutex writer_map_mutex;
  std::unordered_map<DataWriter*, WriterEntry> writer_map;

  bool open();
  void close();
  Topic* acquire_topic(const std::string& name, bool large);
  void release_topic(Topic* topic);
  DataWriter* create_writer(const std::string& name, DataWriterListener* listener, const EndpointPolicy& policy);
  DataReader* create_reader(const std::string& name, DataReaderListener* listener, const EndpointPolicy& policy);
  void delete_writer(DataWriter* writer, Topic* topic);
  void delete_reader(DataReader* reader);

 private:
  void warm_up();
};

namespace {

// Fast DDS announces every endpoint with the addresses of the time when it was made. Links that go and come back do no
// harm. Setting the QoS of participant and endpoints again, which is to announce them anew, did not help peers.
void warn_of_new_address(const std::string& address) {
  OVIMUX_LOG(kWarning) << "this machine has a new network address, " << address
                       << ": peers on other machines that need it reach this process only after a restart";
}

}  // namespace

bool DDSNodeFactory::Entities::open() {
  if (participant != nullptr || closed) {
    return !closed;
  }
  factory = DomainParticipantFactory::get_shared_instance();
  make_dds_statics();
  register_exit_handler();
  participant = create_participant(*factory);
  if (participant == nullptr) {
    return false;
  }
  for (const bool large : {false, true}) {
    TypeSupport(new EnvelopeType(large)).register_type(participant);
  }
  publisher = participant->create_publisher(eprosima::fastdds::dds::PUBLISHER_QOS_DEFAULT);
  subscriber = participant->create_subscriber(eprosima::fastdds::dds::SUBSCRIBER_QOS_DEFAULT);
  warm_up();
  if (!participant_settings().localhost_only) {
    address_watch = std::make_unique<AddressWatch>(warn_of_new_address);
  }
  register_exit_handler();  // Now that Fast DDS has made its own statics, so that it closes before they are gone.
  return publisher != nullptr && subscriber != nullptr;
}

// Makes one writer and one reader, so that the statics which Fast DDS makes with its first endpoints exist before the
// exit handler is registered and are destroyed after it has run. The two stay until the end: an endpoint that goes
// while a peer is being discovered leaves a gap in what the peer is told, and a gap is only closed with the next
// heartbeat of discovery, up to a second later. Until then the peer would not see the endpoints that came after it.
void DDSNodeFactory::Entities::warm_up() {
  const EndpointPolicy policy = DDSTools::PolicyOf(Qos{});
  const std::string name = "ovimux/warm_up/" + std::to_string(GlobalData::Instance()->process_id());
  create_writer(name, nullptr, policy);
  create_reader(name, nullptr, policy);
}

void DDSNodeFactory::Entities::close() {
  closed = true;
  address_watch.reset();
  if (participant == nullptr) {
    return;
  }
  participant->delete_contained_entities();
  factory->delete_participant(participant);
  participant = nullptr;
  topics.clear();
  readers.clear();
}

Topic* DDSNodeFactory::Entities::acquire_topic(const std::string& name, bool large) {
  const std::string type_name = EnvelopeType(large).getName();
  auto& use = topics[name];
  if (use.topic == nullptr) {
    use.topic = participant->create_topic(name, type_name, eprosima::fastdds::dds::TOPIC_QOS_DEFAULT);
  }
  if (use.topic == nullptr || use.topic->get_type_name() != type_name) {
    OVIMUX_LOG(kError) << "DDS topic could not be created, topic: " << name << ", type: " << type_name
                       << (use.topic != nullptr ? ": this process uses it with the other envelope" : "");
    if (use.users == 0) {
      topics.erase(name);
    }
    return nullptr;
  }
  ++use.users;
  return use.topic;
}

void DDSNodeFactory::Entities::release_topic(Topic* topic) {
  const auto it = topics.find(topic->get_name());
  if (it != topics.end() && --it->second.users == 0) {
    participant->delete_topic(topic);
    topics.erase(it);
  }
}

DataWriter* DDSNodeFactory::Entities::create_writer(const std::string& name, DataWriterListener* listener,
                                                    const EndpointPolicy& policy) {
  Topic* topic = acquire_topic(name, policy.large);
  if (topic == nullptr) {
    return nullptr;
  }
  auto* writer = publisher->create_datawriter(topic, make_writer_qos(policy), listener, writer_status_mask());
  if (writer == nullptr) {
    OVIMUX_LOG(kError) << "DDS writer could not be created, topic: " << name;
    release_topic(topic);
  }
  return writer;
}

DataReader* DDSNodeFactory::Entities::create_reader(const std::string& name, DataReaderListener* listener,
                                                    const EndpointPolicy& policy) {
  Topic* topic = acquire_topic(name, policy.large);
  if (topic == nullptr) {
    return nullptr;
  }
  auto* reader = subscriber->create_datareader(topic, make_reader_qos(policy), listener, reader_status_mask());
  if (reader == nullptr) {
    OVIMUX_LOG(kError) << "DDS reader could not be created, topic: " << name;
    release_topic(topic);
    return nullptr;
  }
  readers[reader].topic = topic;
  return reader;
}

void DDSNodeFactory::Entities::delete_writer(DataWriter* writer, Topic* topic) {
  writer->set_listener(nullptr);
  publisher->delete_datawriter(writer);
  release_topic(topic);
}

void DDSNodeFactory::Entities::delete_reader(DataReader* reader) {
  const auto it = readers.find(reader);
  if (it == readers.end()) {
    return;
  }
  reader->set_listener(nullptr);
  subscriber->delete_datareader(reader);
  release_topic(it->second.topic);
  readers.erase(it);
}

DDSNodeFactory* DDSNodeFactory::Instance(bool /*create*/) {
  static auto* const instance = new DDSNodeFactory;
  return instance;
}

DDSNodeFactory::DDSNodeFactory() : entities_(new Entities) {}

DataWriter* DDSNodeFactory::CreateWriter(const std::string& topic, std::shared_ptr<DataWriterListener> listener,
                                         const Qos& qos) {
  const std::lock_guard<std::mutex> lock(entities_->mutex);
  if (!entities_->open()) {
    return nullptr;
  }
  auto* writer = entities_->create_writer(topic, listener.get(), DDSTools::PolicyOf(qos));
  if (writer != nullptr) {
    const boost::unique_lock<boost::shared_mutex> map_lock(entities_->writer_map_mutex);
    entities_->writer_map[writer] = {entities_->topics[topic].topic, std::make_shared<std::mutex>(), qos,
                                     std::move(listener)};
  }
  return writer;
}

DataReader* DDSNodeFactory::CreateReader(const std::string& topic, std::shared_ptr<DataReaderListener> listener,
                                         const Qos& qos, const void* /*ctx*/) {
  const std::lock_guard<std::mutex> lock(entities_->mutex);
  if (!entities_->open()) {
    return nullptr;
  }
  auto* reader = entities_->create_reader(topic, listener.get(), DDSTools::PolicyOf(qos));
  if (reader != nullptr) {
    entities_->readers[reader].listener = std::move(listener);
  }
  return reader;
}

void DDSNodeFactory::DeleteWriter(DataWriter*& writer, bool /*wait*/) {
  run_off_dds_threads([this, writer] {
    const std::lock_guard<std::mutex> entities_lock(entities_->mutex);
    boost::unique_lock<boost::shared_mutex> map_lock(entities_->writer_map_mutex);
    const auto it = entities_->writer_map.find(writer);
    if (it == entities_->writer_map.end()) {
      return;
    }
    const WriterEntry entry = it->second;
    entities_->writer_map.erase(it);
    map_lock.unlock();
    const std::lock_guard<std::mutex> writer_lock(*std::get<1>(entry));  // A write under way ends first.
    entities_->delete_writer(writer, std::get<0>(entry));
  });
  writer = nullptr;
}

void DDSNodeFactory::DeleteReader(DataReader*& reader, bool /*wait*/) {
  run_off_dds_threads([this, reader] {
    std::shared_ptr<DataReaderListener> listener;  // Dies after the lock is released.
    const std::lock_guard<std::mutex> lock(entities_->mutex);
    if (const auto it = entities_->readers.find(reader); it != entities_->readers.end()) {
      listener = it->second.listener;
      entities_->delete_reader(reader);
    }
  });
  reader = nullptr;
}

void DDSNodeFactory::CloseAll() {
  std::unordered_map<DataWriter*, WriterEntry> writers;
  std::unordered_map<DataReader*, Entities::ReaderEntry> readers;
  const std::lock_guard<std::mutex> lock(entities_->mutex);
  {
    const boost::unique_lock<boost::shared_mutex> map_lock(entities_->writer_map_mutex);
    writers.swap(entities_->writer_map);
  }
  readers = entities_->readers;
  std::vector<std::unique_lock<std::mutex>> writes_under_way;
  for (auto& [writer, entry] : writers) {
    writes_under_way.emplace_back(*std::get<1>(entry));
    writer->set_listener(nullptr);
  }
  for (auto& [reader, entry] : readers) {
    reader->set_listener(nullptr);
  }
  entities_->close();
}

bool DDSNodeFactory::UseWriter(DataWriter* writer, const std::function<void(DataWriter&)>& use) {
  const boost::shared_lock<boost::shared_mutex> map_lock(entities_->writer_map_mutex);
  if (entities_->writer_map.count(writer) == 0) {
    return false;
  }
  use(*writer);
  return true;
}

bool DDSNodeFactory::lock_writer(DataWriter* writer, WriterEntry& entry, std::unique_lock<std::mutex>& lock) {
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
  lock = std::unique_lock<std::mutex>(*std::get<1>(entry));
  return true;
}

bool DDSNodeFactory::is_large(const WriterEntry& entry) { return std::get<2>(entry).payload_kind == kLargePayloadKind; }

void DDSNodeFactory::log_start(const WriterEntry& entry, const SampleHeader& header) {
  OVIMUX_LOG(kDebug) << (is_large(entry) ? "DDSNodeFactory: large data publish" : "64k data publish")
                     << ", topic: " << std::get<0>(entry)->get_name() << ", index: " << header.seq
                     << ", token: " << header.token;
}

namespace {

bool write_sample(DataWriter* writer, Envelope& envelope, const SampleIdentity* related) {
  if (related == nullptr) {
    return writer->write(&envelope);
  }
  eprosima::fastrtps::rtps::WriteParams params;
  params.related_sample_identity(to_dds(*related));
  return writer->write(&envelope, params);
}

}  // namespace

bool DDSNodeFactory::publish_encoded(DataWriter* writer, const WriterEntry& entry, const SampleHeader& header,
                                     const EncodedMessage& message) {
  const std::string& topic = std::get<0>(entry)->get_name();
  const auto len = static_cast<int32_t>(message.size);
  if (len > (is_large(entry) ? kLargePayloadBound : kSmallPayloadBound)) {
    OVIMUX_LOG(kError) << "DDSNodeFactory: write len out of " << (is_large(entry) ? "10m" : "64k")
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
  const bool written = write_sample(writer, envelope, header.related);
  if (!written) {
    OVIMUX_LOG(kError) << "Writer dds publish failed, topic: " << topic << ", index: " << header.seq
                       << ", token: " << header.token << ", res: 0";
    return false;
  }
  OVIMUX_LOG(kDebug) << "Writer publish done, topic: " << topic << ", index: " << header.seq
                     << ", token: " << header.token << ", res: 1";
  return true;
}

}  // namespace norvik::ovimux

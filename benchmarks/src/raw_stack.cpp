#include "raw_stack.hpp"

#include <fastdds/dds/domain/DomainParticipant.hpp>
#include <fastdds/dds/domain/DomainParticipantFactory.hpp>
#include <fastdds/dds/publisher/Publisher.hpp>
#include <fastdds/dds/subscriber/Subscriber.hpp>
#include <fastdds/rtps/common/WriteParams.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "dds/endpoint_qos.hpp"
#include "dds/envelope/envelope_type.hpp"
#include "dds/participant.hpp"
#include "stack.hpp"

namespace norvik::benchmarks {

using namespace eprosima::fastdds::dds;  // NOLINT(google-build-using-namespace)
using ovimux::Envelope;

namespace {

ovimux::EndpointPolicy policy(bool large) {
  ovimux::Qos qos;
  qos.payload_kind = large ? ovimux::kLargePayloadKind : 0;
  return ovimux::DDSTools::PolicyOf(qos);
}

class SampleListener : public DataReaderListener {
 public:
  explicit SampleListener(RawParticipant::OnSample on_sample) : on_sample_(std::move(on_sample)) {}

  void on_data_available(DataReader* reader) override {
    SampleInfo info;
    while (reader->take_next_sample(&envelope_, &info) == ReturnCode_t::RETCODE_OK) {
      if (info.valid_data) {
        on_sample_(envelope_, info);
      }
    }
  }

 private:
  const RawParticipant::OnSample on_sample_;
  Envelope envelope_;
};

}  // namespace

struct RawParticipant::State {
  std::shared_ptr<DomainParticipantFactory> factory = DomainParticipantFactory::get_shared_instance();
  DomainParticipant* participant = ovimux::create_participant(*factory);
  Publisher* publisher = participant->create_publisher(PUBLISHER_QOS_DEFAULT);
  Subscriber* subscriber = participant->create_subscriber(SUBSCRIBER_QOS_DEFAULT);
  std::map<std::string, Topic*> topics;
  std::vector<std::unique_ptr<SampleListener>> listeners;

  State() {
    for (const bool large : {false, true}) {
      TypeSupport(new ovimux::EnvelopeType(large)).register_type(participant);
    }
  }
  ~State() {
    participant->delete_contained_entities();
    factory->delete_participant(participant);
  }

  Topic* topic(const std::string& name, bool large) {
    auto& entry = topics[name];
    if (entry == nullptr) {
      entry = participant->create_topic(name, ovimux::EnvelopeType(large).getName(), TOPIC_QOS_DEFAULT);
    }
    return entry;
  }
};

RawParticipant::RawParticipant() : state_(std::make_shared<State>()) {}

DataWriter* RawParticipant::create_writer(const std::string& topic, bool large) {
  return state_->publisher->create_datawriter(state_->topic(topic, large), ovimux::make_writer_qos(policy(large)));
}

DataReader* RawParticipant::create_reader(const std::string& topic, bool large, OnSample on_sample) {
  state_->listeners.push_back(std::make_unique<SampleListener>(std::move(on_sample)));
  return state_->subscriber->create_datareader(state_->topic(topic, large), ovimux::make_reader_qos(policy(large)),
                                               state_->listeners.back().get());
}

namespace {

Envelope make_envelope(size_t size) {
  Envelope envelope;
  envelope.raw_data.assign(size, 'x');
  envelope.pkg_len = static_cast<int32_t>(size);
  return envelope;
}

class RawPublisher : public NumberPublisher {
 public:
  RawPublisher(RawParticipant& participant, const std::string& topic, size_t size)
      : writer_(participant.create_writer(topic, size > kLargestSmallSize)), envelope_(make_envelope(size)) {}

  bool send(int64_t number) override {
    std::memcpy(envelope_.raw_data.data(), &number, sizeof(number));
    return writer_->write(&envelope_);
  }

 private:
  DataWriter* const writer_;
  Envelope envelope_;
};

class RawEchoClient : public EchoClient {
 public:
  RawEchoClient(RawParticipant& participant, const std::string& service, size_t size)
      : writer_(participant.create_writer(service + "/request", false)), envelope_(make_envelope(size)) {
    participant.create_reader(service + "/response", false, [this](const Envelope& answer, const SampleInfo&) {
      const std::lock_guard<std::mutex> lock(mutex_);
      answered_ = answer.rpc_seq;
      arrived_.notify_all();
    });
    while (!call()) {  // Until the server is there.
    }
  }

  bool call() override {
    ++envelope_.rpc_seq;
    writer_->write(&envelope_);
    std::unique_lock<std::mutex> lock(mutex_);
    return arrived_.wait_for(lock, std::chrono::milliseconds(500), [this] { return answered_ == envelope_.rpc_seq; });
  }

 private:
  DataWriter* const writer_;
  Envelope envelope_;
  std::mutex mutex_;
  std::condition_variable arrived_;
  uint32_t answered_ = 0;
};

class RawStack : public Stack {
 public:
  std::unique_ptr<NumberPublisher> publisher(const std::string& topic, size_t size) override {
    return std::make_unique<RawPublisher>(participant_, topic, size);
  }

  std::unique_ptr<Subscription> subscribe(const std::string& topic, size_t size,
                                          std::function<void(int64_t)> callback) override {
    participant_.create_reader(topic, size > kLargestSmallSize,
                               [callback = std::move(callback)](const Envelope& envelope, const SampleInfo&) {
                                 int64_t number = 0;
                                 std::memcpy(&number, envelope.raw_data.data(), sizeof(number));
                                 callback(number);
                               });
    return std::make_unique<Subscription>();
  }

  std::unique_ptr<Subscription> echo_server(const std::string& service) override {
    auto* writer = participant_.create_writer(service + "/response", false);
    participant_.create_reader(service + "/request", false, [writer](const Envelope& request, const SampleInfo&) {
      Envelope answer = request;
      writer->write(&answer);
    });
    return std::make_unique<Subscription>();
  }

  std::unique_ptr<EchoClient> echo_client(const std::string& service, size_t size) override {
    return std::make_unique<RawEchoClient>(participant_, service, size);
  }

 private:
  RawParticipant participant_;
};

}  // namespace

std::unique_ptr<Stack> make_raw_stack() { return std::make_unique<RawStack>(); }

}  // namespace norvik::benchmarks

// A robot that knows nothing of this project: a plain Fast DDS participant with the default quality of service and the
// default shared memory, and an envelope type written from the IDL alone. It answers two services, counts a stream,
// reports its state a hundred times a second and sends pictures when told to.
//
// plain_robot DOMAIN [pictures] [all-interfaces]; prints "ready", ends with its input.
#include <fastcdr/Cdr.h>
#include <fastcdr/FastBuffer.h>
#include <fastdds/dds/domain/DomainParticipant.hpp>
#include <fastdds/dds/domain/DomainParticipantFactory.hpp>
#include <fastdds/dds/publisher/DataWriter.hpp>
#include <fastdds/dds/publisher/Publisher.hpp>
#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/DataReaderListener.hpp>
#include <fastdds/dds/subscriber/SampleInfo.hpp>
#include <fastdds/dds/subscriber/Subscriber.hpp>
#include <fastdds/dds/topic/Topic.hpp>
#include <fastdds/dds/topic/TopicDataType.hpp>
#include <fastdds/rtps/transport/UDPv4TransportDescriptor.h>
#include <fastdds/rtps/transport/shared_mem/SharedMemTransportDescriptor.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace eprosima::fastdds::dds;  // NOLINT(google-build-using-namespace)
using eprosima::fastrtps::rtps::InstanceHandle_t;
using eprosima::fastrtps::rtps::SerializedPayload_t;
using eprosima::fastrtps::rtps::WriteParams;
using eprosima::fastrtps::types::ReturnCode_t;

constexpr uint32_t kEncapsulationSize = 4;
constexpr uint32_t kHeaderSize = 52;
constexpr size_t kPictureSize = 500000;

struct Envelope {
  int32_t token = 0, pid = 0, tid = 0;
  uint32_t seq = 0, rpc_seq = 0, seconds = 0, nanoseconds = 0, crc = 0;
  int32_t length = 0;
  bool segmented = false;
  int32_t segments = 0, segment = 0;
  std::vector<uint8_t> bytes;

  template <typename Cdr>
  void exchange(Cdr&& with) {
    with(token), with(pid), with(tid), with(seq), with(rpc_seq), with(seconds), with(nanoseconds), with(crc);
    with(length), with(segmented), with(segments), with(segment), with(bytes);
  }
};

class EnvelopeType : public TopicDataType {
 public:
  explicit EnvelopeType(const std::string& name) {
    setName(name.c_str());
    m_typeSize = 1024;
    auto_fill_type_object(false);
    auto_fill_type_information(false);
  }
  bool serialize(void* data, SerializedPayload_t* payload) override {
    eprosima::fastcdr::FastBuffer buffer(reinterpret_cast<char*>(payload->data), payload->max_size);
    eprosima::fastcdr::Cdr cdr(buffer, eprosima::fastcdr::Cdr::DEFAULT_ENDIAN, eprosima::fastcdr::Cdr::DDS_CDR);
    payload->encapsulation = CDR_LE;
    cdr.serialize_encapsulation();
    static_cast<Envelope*>(data)->exchange([&cdr](auto& member) { cdr << member; });
    payload->length = static_cast<uint32_t>(cdr.getSerializedDataLength());
    return true;
  }
  bool deserialize(SerializedPayload_t* payload, void* data) override {
    eprosima::fastcdr::FastBuffer buffer(reinterpret_cast<char*>(payload->data), payload->length);
    eprosima::fastcdr::Cdr cdr(buffer, eprosima::fastcdr::Cdr::DEFAULT_ENDIAN, eprosima::fastcdr::Cdr::DDS_CDR);
    cdr.read_encapsulation();
    static_cast<Envelope*>(data)->exchange([&cdr](auto& member) { cdr >> member; });
    return true;
  }
  std::function<uint32_t()> getSerializedSizeProvider(void* data) override {
    return [size = static_cast<Envelope*>(data)->bytes.size()] {
      return static_cast<uint32_t>(kEncapsulationSize + kHeaderSize + size);
    };
  }
  void* createData() override { return new Envelope; }
  void deleteData(void* data) override { delete static_cast<Envelope*>(data); }
  bool getKey(void*, InstanceHandle_t*, bool) override { return false; }
};

class Robot {
 public:
  Robot(uint32_t domain, bool all_interfaces) {
    DomainParticipantQos qos = PARTICIPANT_QOS_DEFAULT;
    if (!all_interfaces) {
      confine(qos);
    }
    participant_ = DomainParticipantFactory::get_instance()->create_participant(domain, qos);
    for (const char* type : {"ovimux_idl::data64k", "ovimux_idl::data10m"}) {
      TypeSupport(new EnvelopeType(type)).register_type(participant_);
    }
    publisher_ = participant_->create_publisher(PUBLISHER_QOS_DEFAULT);
    subscriber_ = participant_->create_subscriber(SUBSCRIBER_QOS_DEFAULT);
    serve("plain/small", "ovimux_idl::data64k");
    serve("plain/large", "ovimux_idl::data10m");
    read("plain/stream", "ovimux_idl::data64k", [this](const Envelope&, const SampleInfo&) { ++streamed_; });
    state_ = write("plain/state", "ovimux_idl::data64k");
    pictures_ = write("plain/pictures", "ovimux_idl::data10m");
  }

  void report() { send(*state_, std::to_string(++reports_)); }
  void send_picture() { send(*pictures_, std::string(kPictureSize, 'p')); }

 private:
  using Handler = std::function<void(const Envelope&, const SampleInfo&)>;

  class Listener : public DataReaderListener {
   public:
    explicit Listener(Handler handler) : handler_(std::move(handler)) {}
    void on_data_available(DataReader* reader) override {
      SampleInfo info;
      while (reader->take_next_sample(&envelope_, &info) == ReturnCode_t::RETCODE_OK) {
        if (info.valid_data) {
          handler_(envelope_, info);
        }
      }
    }

   private:
    Handler handler_;
    Envelope envelope_;
  };

  // The transports that the default consists of, except that nothing leaves this machine.
  static void confine(DomainParticipantQos& qos) {
    auto udp = std::make_shared<eprosima::fastdds::rtps::UDPv4TransportDescriptor>();
    udp->interfaceWhiteList = {"127.0.0.1"};
    auto shared_memory = std::make_shared<eprosima::fastdds::rtps::SharedMemTransportDescriptor>();
    shared_memory->segment_size(0);
    shared_memory->max_message_size(udp->max_message_size());
    qos.transport().use_builtin_transports = false;
    qos.transport().user_transports = {udp, shared_memory};
  }

  Topic* topic(const std::string& name, const char* type) {
    return participant_->create_topic(name, type, TOPIC_QOS_DEFAULT);
  }

  DataWriter* write(const std::string& name, const char* type) {
    DataWriterQos qos = DATAWRITER_QOS_DEFAULT;
    qos.durability().kind = VOLATILE_DURABILITY_QOS;
    qos.history().depth = 10;
    return publisher_->create_datawriter(topic(name, type), qos);
  }

  void read(const std::string& name, const char* type, Handler handler) {
    DataReaderQos qos = DATAREADER_QOS_DEFAULT;
    qos.reliability().kind = RELIABLE_RELIABILITY_QOS;
    qos.history().depth = 10;
    listeners_.push_back(std::make_unique<Listener>(std::move(handler)));
    subscriber_->create_datareader(topic(name, type), qos, listeners_.back().get());
  }

  // An answer tells the length of its request and how much of the stream has arrived.
  void serve(const std::string& service, const char* type) {
    auto* writer = write(service + "__RPC__RESPONSE", type);
    read(service + "__RPC__REQUEST", type, [this, writer](const Envelope& request, const SampleInfo& info) {
      WriteParams parameters;
      parameters.related_sample_identity(info.sample_identity);
      send(*writer, std::to_string(request.bytes.size()) + " " + std::to_string(streamed_), request.rpc_seq,
           &parameters);
    });
  }

  static void send(DataWriter& writer, const std::string& text, uint32_t rpc_seq = 0,
                   WriteParams* parameters = nullptr) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    Envelope envelope;
    envelope.rpc_seq = rpc_seq;
    envelope.seconds = static_cast<uint32_t>(now.tv_sec);
    envelope.nanoseconds = static_cast<uint32_t>(now.tv_nsec);
    envelope.length = static_cast<int32_t>(text.size());
    envelope.bytes.assign(text.begin(), text.end());
    parameters != nullptr ? writer.write(&envelope, *parameters) : writer.write(&envelope);
  }

  DomainParticipant* participant_ = nullptr;
  Publisher* publisher_ = nullptr;
  Subscriber* subscriber_ = nullptr;
  std::vector<std::unique_ptr<Listener>> listeners_;
  std::atomic<unsigned> streamed_{0};
  unsigned reports_ = 0;
  DataWriter* state_ = nullptr;
  DataWriter* pictures_ = nullptr;
};

}  // namespace

int main(int argc, char** argv) {
  const std::set<std::string> options(argv + 2, argv + argc);
  Robot robot(static_cast<uint32_t>(std::atoi(argv[1])), options.count("all-interfaces") != 0);
  std::thread([&robot, pictures = options.count("pictures") != 0] {
    for (unsigned tick = 0;; ++tick) {
      robot.report();
      if (pictures && tick % 3 == 0) {
        robot.send_picture();
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }).detach();
  std::cout << "ready" << std::endl;
  std::string line;
  while (std::getline(std::cin, line)) {
  }
  std::_Exit(0);
}

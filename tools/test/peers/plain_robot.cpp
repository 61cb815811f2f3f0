// A robot made of nothing but Fast DDS with its default settings: own type support, no code of the library, nothing
// announced. Ends with its standard input.
//
//   plain_robot DOMAIN CLOCK_OFFSET_MS ENDPOINT...
//
// An endpoint is w|r,TOPIC,TYPE,r|b|l[,PAYLOAD] with the payload in hexadecimal: writer or reader; reliable, best
// effort, or reliable and latched. Writers send 50 times a second. Samples of the two envelopes have a header.
#include <poll.h>
#include <unistd.h>
#include <fastdds/dds/domain/DomainParticipant.hpp>
#include <fastdds/dds/domain/DomainParticipantFactory.hpp>
#include <fastdds/dds/publisher/DataWriter.hpp>
#include <fastdds/dds/publisher/Publisher.hpp>
#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/Subscriber.hpp>
#include <fastdds/dds/topic/TopicDataType.hpp>

#include <chrono>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fastdds = eprosima::fastdds::dds;
namespace rtps = eprosima::fastrtps::rtps;

// Sends the bytes it is given behind the encapsulation.
class BytesType : public fastdds::TopicDataType {
 public:
  explicit BytesType(const std::string& name) {
    setName(name.c_str());
    m_typeSize = 4096;
  }
  bool serialize(void* data, rtps::SerializedPayload_t* payload) override {
    const auto& bytes = *static_cast<std::string*>(data);
    const char encapsulation[4] = {0, 1, 0, 0};
    std::memcpy(payload->data, encapsulation, 4);
    std::memcpy(payload->data + 4, bytes.data(), bytes.size());
    payload->length = static_cast<uint32_t>(bytes.size() + 4);
    return true;
  }
  bool deserialize(rtps::SerializedPayload_t*, void*) override { return true; }
  std::function<uint32_t()> getSerializedSizeProvider(void* data) override {
    return [size = static_cast<std::string*>(data)->size()] { return static_cast<uint32_t>(size + 4); };
  }
  void* createData() override { return new std::string; }
  void deleteData(void* data) override { delete static_cast<std::string*>(data); }
  bool getKey(void*, rtps::InstanceHandle_t*, bool) override { return false; }
};

void append(std::string& bytes, uint32_t value) { bytes.append(reinterpret_cast<const char*>(&value), 4); }

// Token, pid, tid, seq, rpc_seq, seconds, nanoseconds, crc, length, three segment fields, length, payload.
std::string envelope(uint32_t seq, std::chrono::milliseconds clock_offset, const std::string& payload) {
  const auto now = std::chrono::system_clock::now().time_since_epoch() + clock_offset;
  const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
  const auto size = static_cast<uint32_t>(payload.size());
  std::string bytes;
  for (const uint32_t field : {7U, static_cast<uint32_t>(getpid()), 9U, seq, 0U, static_cast<uint32_t>(ns / 1000000000),
                               static_cast<uint32_t>(ns % 1000000000), 0U, size, 0U, 1U, 0U, size}) {
    append(bytes, field);
  }
  return bytes + payload;
}

struct Endpoint {
  bool is_writer;
  std::string topic;
  std::string type;
  char quality;
  std::string payload;
  fastdds::DataWriter* writer = nullptr;
};

Endpoint parse(const std::string& text) {
  std::istringstream fields(text);
  std::string kind, topic, type, quality, hex, payload;
  std::getline(fields, kind, ',');
  std::getline(fields, topic, ',');
  std::getline(fields, type, ',');
  std::getline(fields, quality, ',');
  std::getline(fields, hex);
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    payload += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  }
  return {kind == "w", topic, type, quality[0], payload};
}

template <typename Qos>
Qos quality_of(const Endpoint& endpoint) {
  Qos qos;
  qos.reliability().kind =
      endpoint.quality == 'b' ? fastdds::BEST_EFFORT_RELIABILITY_QOS : fastdds::RELIABLE_RELIABILITY_QOS;
  qos.durability().kind =
      endpoint.quality == 'l' ? fastdds::TRANSIENT_LOCAL_DURABILITY_QOS : fastdds::VOLATILE_DURABILITY_QOS;
  return qos;
}

bool input_has_ended() {
  pollfd input{STDIN_FILENO, POLLIN, 0};
  char byte = 0;
  return poll(&input, 1, 20) > 0 && read(STDIN_FILENO, &byte, 1) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::chrono::milliseconds clock_offset(std::stoi(argv[2]));
  auto* factory = fastdds::DomainParticipantFactory::get_instance();
  auto* participant =
      factory->create_participant(static_cast<uint32_t>(std::stoi(argv[1])), fastdds::PARTICIPANT_QOS_DEFAULT);
  auto* publisher = participant->create_publisher(fastdds::PUBLISHER_QOS_DEFAULT);
  auto* subscriber = participant->create_subscriber(fastdds::SUBSCRIBER_QOS_DEFAULT);
  std::vector<Endpoint> endpoints;
  for (int i = 3; i < argc; ++i) {
    Endpoint endpoint = parse(argv[i]);
    fastdds::TypeSupport(new BytesType(endpoint.type)).register_type(participant);
    auto* topic = participant->create_topic(endpoint.topic, endpoint.type, fastdds::TOPIC_QOS_DEFAULT);
    if (endpoint.is_writer) {
      endpoint.writer = publisher->create_datawriter(topic, quality_of<fastdds::DataWriterQos>(endpoint));
    } else {
      subscriber->create_datareader(topic, quality_of<fastdds::DataReaderQos>(endpoint));
    }
    endpoints.push_back(endpoint);
  }
  for (uint32_t seq = 1; !input_has_ended(); ++seq) {
    for (const Endpoint& endpoint : endpoints) {
      const bool is_enveloped = endpoint.type.rfind("ovimux_idl::", 0) == 0;
      std::string bytes = is_enveloped ? envelope(seq, clock_offset, endpoint.payload) : endpoint.payload;
      if (endpoint.writer != nullptr) {
        endpoint.writer->write(&bytes);
      }
    }
  }
  participant->delete_contained_entities();
  factory->delete_participant(participant);
  return 0;
}

// The other process of the wire tests. Reads commands from standard input, answers each with one line, ends with its
// input. Topics and services carry plain bytes.
#include <fastdds/dds/publisher/DataWriter.hpp>
#include <fastdds/dds/publisher/Publisher.hpp>
#include <fastdds/dds/topic/Topic.hpp>
#include <fastdds/dds/topic/TopicDataType.hpp>

#include <array>
#include <atomic>
#include <iostream>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include "dds/endpoint_qos.hpp"
#include "dds/participant.hpp"
#include "ovimux/dds/service_server_base.hpp"
#include "ovimux/node.hpp"
#include "ovimux/ovimux.hpp"

namespace norvik::ovimux {
namespace {

// A DDS type that claims to be the small envelope and sends whatever bytes it is given.
class AnyBytesType : public eprosima::fastdds::dds::TopicDataType {
 public:
  AnyBytesType() {
    setName("ovimux_idl::data64k");
    m_typeSize = 4096;
    auto_fill_type_object(false);
    auto_fill_type_information(false);
  }
  bool serialize(void* data, eprosima::fastrtps::rtps::SerializedPayload_t* payload) override {
    const auto& bytes = *static_cast<std::string*>(data);
    bytes.copy(reinterpret_cast<char*>(payload->data), bytes.size());
    payload->length = static_cast<uint32_t>(bytes.size());
    return true;
  }
  bool deserialize(eprosima::fastrtps::rtps::SerializedPayload_t*, void*) override { return false; }
  std::function<uint32_t()> getSerializedSizeProvider(void* data) override {
    return [size = static_cast<std::string*>(data)->size()] { return static_cast<uint32_t>(size); };
  }
  void* createData() override { return new std::string; }
  void deleteData(void* data) override { delete static_cast<std::string*>(data); }
  bool getKey(void*, eprosima::fastrtps::rtps::InstanceHandle_t*, bool) override { return false; }
};

class ForgedWriter {
 public:
  explicit ForgedWriter(const std::string& topic) {
    auto factory = eprosima::fastdds::dds::DomainParticipantFactory::get_shared_instance();
    auto* participant = create_participant(*factory);
    eprosima::fastdds::dds::TypeSupport(new AnyBytesType).register_type(participant);
    writer_ = participant->create_publisher(eprosima::fastdds::dds::PUBLISHER_QOS_DEFAULT)
                  ->create_datawriter(participant->create_topic(topic, "ovimux_idl::data64k",
                                                                eprosima::fastdds::dds::TOPIC_QOS_DEFAULT),
                                      make_writer_qos(DDSTools::PolicyOf(Qos{})));
  }
  bool write(const std::string& hex) {
    std::string bytes;
    for (size_t i = 0; i + 1 < hex.size(); i += 2) {
      bytes.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    }
    return writer_->write(&bytes);
  }

 private:
  eprosima::fastdds::dds::DataWriter* writer_ = nullptr;
};

// A service that echoes, or, when it holds, keeps the requests until told to answer them.
class EchoService {
 public:
  EchoService(const std::string& service, int payload_kind, bool holds)
      : holds_(holds),
        server_(service, rpc_qos(payload_kind), [this](const RequestContext& context, const auto& bytes) {
          const std::string text(bytes.begin(), bytes.end());
          const std::lock_guard<std::mutex> lock(mutex_);
          if (holds_) {
            held_.emplace_back(context, text);
          } else {
            server_.Reply(context, text);
          }
        }) {}

  // Answers everything held, each with its rpc_seq raised by `offset`; with offset 0 the requests are done.
  std::string release(unsigned offset) {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (auto [context, text] : held_) {
      context.rpc_seq += offset;
      server_.Reply(context, text);
    }
    const size_t count = held_.size();
    if (offset == 0) {
      held_.clear();
    }
    return std::to_string(count);
  }
  void hold(bool holds) {
    const std::lock_guard<std::mutex> lock(mutex_);
    holds_ = holds;
  }
  // The rpc_seq of every request held, in order of arrival.
  std::string held() {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::string result = "held";
    for (const auto& [context, text] : held_) {
      result += " " + std::to_string(context.rpc_seq);
    }
    return result;
  }

 private:
  static RpcQos rpc_qos(int payload_kind) {
    RpcQos qos;
    qos.payload_kind = payload_kind;
    return qos;
  }

  std::mutex mutex_;
  bool holds_;
  std::vector<std::pair<RequestContext, std::string>> held_;
  ServiceServerBase server_;
};

class Peer {
 public:
  std::string execute(const std::string& line) {
    std::istringstream words(line);
    std::string command;
    std::string name;
    words >> command >> name;
    if (command == "writer") {
      return open_writer(name, words);
    }
    if (command == "publish") {
      return publish(name, words);
    }
    if (command == "relay") {
      return relay(name, words);
    }
    if (command == "count") {
      return count(name, words);
    }
    if (command == "forge") {
      return forge(name, words);
    }
    return serve(command, name, words);
  }

 private:
  // writer TOPIC PAYLOAD_KIND LATCHED
  std::string open_writer(const std::string& topic, std::istream& words) {
    Qos qos;
    words >> qos.payload_kind >> qos.opaque_3;
    writers_[topic] = node_->CreateWriter(topic, qos, true);
    return writers_[topic] ? "ok" : "failed";
  }

  // publish TOPIC TEXT FIRST COUNT: sends TEXT FIRST, TEXT FIRST+1, ... and says how many were sent.
  std::string publish(const std::string& topic, std::istream& words) {
    std::string text;
    int first = 0;
    int count = 0;
    words >> text >> first >> count;
    int sent = 0;
    for (int i = first; i < first + count; ++i) {
      sent += writers_.at(topic)->Publish(text + std::to_string(i)) ? 1 : 0;
    }
    return std::to_string(sent);
  }

  // relay FROM TO PAYLOAD_KIND: sends back what it receives.
  std::string relay(const std::string& from, std::istream& words) {
    std::string to;
    Qos qos;
    words >> to >> qos.payload_kind;
    auto writer = node_->CreateWriter(to, qos, true);
    readers_.push_back(node_->CreateReader(
        from,
        [writer](const void* data, int size, const void*) {
          writer->Publish(std::make_shared<std::string>(static_cast<const char*>(data), static_cast<size_t>(size)));
        },
        qos, nullptr, true));
    return "ok";
  }

  // count TOPIC PAYLOAD_KIND: how many probes and how many other messages have come since the first call for the topic.
  std::string count(const std::string& topic, std::istream& words) {
    auto& counters = counters_[topic];
    if (!counters) {
      counters = std::make_shared<std::array<std::atomic<int>, 2>>();
      Qos qos;
      words >> qos.payload_kind;
      const auto add = [counters = counters](const void* data, int size, const void*) {
        const bool probe = std::string(static_cast<const char*>(data), static_cast<size_t>(size)) == "probe";
        ++counters->at(probe ? 0 : 1);
      };
      readers_.push_back(node_->CreateReader(topic, add, qos, nullptr, true));
    }
    return std::to_string(counters->at(0)) + " " + std::to_string(counters->at(1));
  }

  // forge TOPIC HEX: sends the bytes as they are, behind the middleware's back.
  std::string forge(const std::string& topic, std::istream& words) {
    std::string hex;
    words >> hex;
    auto& writer = forged_[topic];
    if (!writer) {
      writer = std::make_unique<ForgedWriter>(topic);
    }
    return writer->write(hex) ? "ok" : "failed";
  }

  // echo SERVICE PAYLOAD_KIND, hold SERVICE, held SERVICE, release SERVICE OFFSET
  std::string serve(const std::string& command, const std::string& service, std::istream& words) {
    int number = 0;
    words >> number;
    auto& server = services_[service];
    if (!server) {
      server = std::make_unique<EchoService>(service, number, command == "hold");
      return "ok";
    }
    if (command == "release") {
      return server->release(static_cast<unsigned>(number));
    }
    if (command == "held") {
      return server->held();
    }
    server->hold(command == "hold");
    return "ok";
  }

  std::unique_ptr<Node> node_ = CreateNode("wire_peer", "");
  std::map<std::string, std::shared_ptr<RawWriter>> writers_;
  std::map<std::string, std::shared_ptr<std::array<std::atomic<int>, 2>>> counters_;
  std::vector<std::shared_ptr<RawReader>> readers_;
  std::map<std::string, std::unique_ptr<ForgedWriter>> forged_;
  std::map<std::string, std::unique_ptr<EchoService>> services_;
};

}  // namespace
}  // namespace norvik::ovimux

int main() {
  norvik::ovimux::OvimuxInitInternal();
  norvik::ovimux::Peer peer;
  std::string line;
  while (std::getline(std::cin, line)) {
    std::cout << peer.execute(line) << std::endl;
  }
}

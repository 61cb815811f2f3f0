#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <type_traits>

#include "ovimux/dds/envelope.hpp"
#include "ovimux/dds/payload_codec.hpp"
#include "ovimux/dds/sample_identity.hpp"
#include "ovimux/export.hpp"
#include "ovimux/qos.hpp"

namespace eprosima::fastdds::dds {
class DataReader;
class DataReaderListener;
class DataWriter;
class DataWriterListener;
class Topic;
}  // namespace eprosima::fastdds::dds

namespace norvik::ovimux {

using eprosima::fastdds::dds::DataReader;
using eprosima::fastdds::dds::DataReaderListener;
using eprosima::fastdds::dds::DataWriter;
using eprosima::fastdds::dds::DataWriterListener;

// Makes and deletes all DDS entities of the process, on one participant that is made with the first of them, and sends
// samples. Safe from any thread; deleting is safe even on a DDS thread, where it is handed to another one.
class OVIMUX_EXPORT DDSNodeFactory {
 public:
  static DDSNodeFactory* Instance(bool create = true);

  // Null, with one log record, when DDS refuses, or after CloseAll(). The listener is kept alive until the entity is
  // deleted. `ctx` is not used here; the reader template hands it to its callback.
  DataWriter* CreateWriter(const std::string& topic, std::shared_ptr<DataWriterListener> listener, const Qos& qos);
  DataReader* CreateReader(const std::string& topic, std::shared_ptr<DataReaderListener> listener, const Qos& qos,
                           const void* ctx);

  // Waits for a running listener call or write, deletes the entity and clears the handle. A handle that is unknown,
  // because CloseAll() came first, is only cleared. The last argument has no effect.
  void DeleteWriter(DataWriter*& writer, bool wait);
  void DeleteReader(DataReader*& reader, bool wait);

  // Calls `use` with the entity behind the handle, which stays meanwhile; false when it is gone.
  bool UseWriter(DataWriter* writer, const std::function<void(DataWriter&)>& use);

  // Sends `message` in an envelope. T may be const. Samples of one writer leave in the order of the calls.
  template <typename T>
  bool Publish(DataWriter* writer, const std::shared_ptr<T>& message, unsigned seq, unsigned rpc_seq, int token,
               int tid);

  // The same for an answer, which names the request it answers.
  template <typename T>
  bool PublishReply(DataWriter* writer, const T& message, unsigned seq, unsigned rpc_seq, int token, int tid,
                    const SampleIdentity& request);

  // Deletes every entity of the process, and refuses new ones.
  void CloseAll();

 private:
  using WriterMutex = std::shared_ptr<std::mutex>;
  using WriterEntry = std::tuple<eprosima::fastdds::dds::Topic*, WriterMutex, Qos, std::shared_ptr<DataWriterListener>>;
  struct Entities;

  // What the envelope of one sample needs besides the message.
  struct SampleHeader {
    unsigned seq;
    unsigned rpc_seq;
    int token;
    int tid;
    const SampleIdentity* related;  // Null on everything but an answer.
  };
  struct EncodedMessage {
    size_t size;
    bool can_encode;
    const PayloadSource& source;
  };

  DDSNodeFactory();
  template <typename T>
  bool publish_message(DataWriter* writer, const T& message, const SampleHeader& header);
  // Steps that come before a message is looked at: shutdown, null handle, look-up. Returns with the writer locked.
  bool lock_writer(DataWriter* writer, WriterEntry& entry, std::unique_lock<std::mutex>& lock);
  static bool is_large(const WriterEntry& entry);
  static void log_start(const WriterEntry& entry, const SampleHeader& header);
  static bool publish_encoded(DataWriter* writer, const WriterEntry& entry, const SampleHeader& header,
                              const EncodedMessage& message);

  Entities* const entities_;
};

template <typename T>
bool DDSNodeFactory::publish_message(DataWriter* writer, const T& message, const SampleHeader& header) {
  WriterEntry entry;
  std::unique_lock<std::mutex> lock;
  if (!lock_writer(writer, entry, lock)) {
    return false;
  }
  log_start(entry, header);
  const MessageSource<T> source(message);
  return publish_encoded(writer, entry, header,
                         {PayloadCodec<T>::byte_size(message), PayloadCodec<T>::can_encode(message), source});
}

template <typename T>
bool DDSNodeFactory::Publish(DataWriter* writer, const std::shared_ptr<T>& message, unsigned seq, unsigned rpc_seq,
                             int token, int tid) {
  return publish_message<std::remove_const_t<T>>(writer, *message, {seq, rpc_seq, token, tid, nullptr});
}

template <typename T>
bool DDSNodeFactory::PublishReply(DataWriter* writer, const T& message, unsigned seq, unsigned rpc_seq, int token,
                                  int tid, const SampleIdentity& request) {
  return publish_message<T>(writer, message, {seq, rpc_seq, token, tid, &request});
}

}  // namespace norvik::ovimux

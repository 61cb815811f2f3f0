#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>

#include "ovimux/dds/envelope.hpp"
#include "ovimux/dds/payload_codec.hpp"
#include "ovimux/dds/sample_identity.hpp"
#include "ovimux/export.hpp"
#include "ovimux/qos.hpp"

namespace eprosima::fastdds::dds {
class DataReaderListener;
class DataWriterListener;
}  // namespace eprosima::fastdds::dds

namespace norvik::ovimux {

using eprosima::fastdds::dds::DataReaderListener;
using eprosima::fastdds::dds::DataWriterListener;

// Handles. The DDS entity behind one is replaced when the participant is made anew.
struct DataReader;
struct DataWriter;

// Makes and deletes all DDS entities of the process, on one participant that is made with the first of them, and sends
// samples. Safe from any thread; deleting is safe even on a DDS thread, where it is handed to another one.
//
// DDS tells peers the addresses that the machine had when the participant was made. So unless the process is confined
// to this machine, the participant is made anew when a network address is added (see Renew).
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

  // Sends `message` in an envelope. T may be const. Samples of one writer leave in the order of the calls.
  template <typename T>
  bool Publish(DataWriter* writer, const std::shared_ptr<T>& message, unsigned seq, unsigned rpc_seq, int token,
               int tid);

  // The same for an answer, which names the request it answers.
  template <typename T>
  bool PublishReply(DataWriter* writer, const T& message, unsigned seq, unsigned rpc_seq, int token, int tid,
                    const SampleIdentity& request);

  // Makes the participant and all that is on it anew, with the machine's present addresses: some 0.2 s, in which
  // nothing is received and whoever publishes waits, then peers have to be found again. Handles and listeners stay.
  // What is on its way is lost, and with it the answers to pending requests; the last sample of a latched writer is
  // published again. False when DDS refused a part, which then neither sends nor receives: the next call tries again.
  // Nothing is done before the first entity, and after a shutdown.
  bool Renew();

  // Deletes every entity of the process, and refuses new ones.
  void CloseAll();

 private:
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
  bool lock_writer(DataWriter* writer, std::shared_ptr<DataWriter>& entry, std::unique_lock<std::mutex>& lock);
  static void log_start(const DataWriter& writer, const SampleHeader& header);
  static bool publish_encoded(DataWriter& writer, const SampleHeader& header, const EncodedMessage& message);

  Entities* const entities_;
};

template <typename T>
bool DDSNodeFactory::publish_message(DataWriter* writer, const T& message, const SampleHeader& header) {
  std::shared_ptr<DataWriter> entry;  // Its mutex is what `lock` holds.
  std::unique_lock<std::mutex> lock;
  if (!lock_writer(writer, entry, lock)) {
    return false;
  }
  log_start(*entry, header);
  const MessageSource<T> source(message);
  return publish_encoded(*entry, header,
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

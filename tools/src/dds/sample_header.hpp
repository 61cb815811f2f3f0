#pragma once

#include <cstddef>
#include <cstdint>
#include <tuple>

#include "dds/peer.hpp"

namespace norvik::tools {

// Names a sender: a writer, and whom it speaks for. One writer may pass on what several processes send.
struct Sender {
  EndpointId writer{};
  int pid = 0;
  int token = 0;

  bool operator<(const Sender& other) const {
    return std::tie(writer, pid, token) < std::tie(other.writer, other.pid, other.token);
  }
};

// What is known of a sample without decoding it. A sample without envelope has the index and the time of DDS.
struct SampleHeader {
  Sender sender;
  uint32_t seq = 0;
  size_t size = 0;          // Bytes of the serialised message.
  int64_t stamp_ns = 0;     // Wall clock of the sender; 0 if it does not tell.
  int64_t received_ns = 0;  // Wall clock here.
  int64_t arrival_ns = 0;   // Steady clock here.
  bool malformed = false;   // The envelope could not be read; size, pid, token and stamp mean nothing.

  bool has_stamp() const { return stamp_ns > 0; }
  int64_t latency_ns() const { return received_ns - stamp_ns; }
};

}  // namespace norvik::tools

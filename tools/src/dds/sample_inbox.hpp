#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>

#include "dds/bytes.hpp"
#include "dds/sample_header.hpp"

namespace norvik::tools {

struct Sample {
  SampleHeader header;
  Bytes payload;
};

// Takes samples from a DDS thread to the one that prints. When printing is slower than the topic, samples that find
// the inbox full are skipped and counted, so that memory stays bounded.
class SampleInbox {
 public:
  explicit SampleInbox(size_t byte_limit) : byte_limit_(byte_limit) {}

  // Moves the payload out unless the sample is skipped. An empty inbox takes a sample of any size.
  void put(const SampleHeader& header, Bytes& payload);
  std::optional<Sample> take();
  bool is_empty() const;
  // Samples skipped since the last call.
  uint64_t take_skipped();

 private:
  const size_t byte_limit_;
  mutable std::mutex mutex_;
  std::deque<Sample> samples_;
  size_t bytes_ = 0;
  uint64_t skipped_ = 0;
};

}  // namespace norvik::tools

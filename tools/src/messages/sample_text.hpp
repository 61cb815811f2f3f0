#pragma once

#include <string>

#include "dds/sample_inbox.hpp"
#include "messages/message_decoder.hpp"
#include "model/model_channels.hpp"

namespace norvik::tools {

// How samples of one topic are shown.
struct SampleStyle {
  std::string topic;
  std::string type = kRawType;
  bool raw = false;   // Bytes as they are, whatever the type.
  bool json = false;  // One document a line, nothing left out.
};

// A sample for the output, ending in a line end. `decoder` is not used for raw samples.
std::string sample_text(const Sample& sample, const SampleStyle& style, MessageDecoder& decoder);

}  // namespace norvik::tools

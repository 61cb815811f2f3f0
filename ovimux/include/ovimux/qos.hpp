#pragma once

#include <cstdint>

namespace norvik::ovimux {

// Quality of a topic endpoint. Members called opaque_... are interpreted only where a DDS endpoint is created
// (DDSTools); everything else is read by the templates.
struct Qos {
  int32_t core_kind = 0;     // 0: DDS. Other transports are not supported.
  int32_t payload_kind = 0;  // 6: the 10 MB envelope, else the 64 KB envelope.
  int32_t opaque_2 = 0;
  int32_t opaque_3 = 0;  // Not 0: a late joiner gets the last value.
  int32_t opaque_4 = 0;
  int32_t opaque_5 = 3;
  int32_t opaque_6 = 0;  // Not 0: a late joiner gets the last value.
  int32_t opaque_7 = 0;
  int32_t opaque_8 = 5000;
  int32_t opaque_9 = 10;
  int32_t opaque_10 = 400;
  int32_t opaque_11 = 100;
  int32_t opaque_12 = 3;
  int32_t callback_mode = 0;    // 0: auto, the pool delivers. Else sync, the program delivers.
  int32_t queue_depth = 100;    // Receive queue in sync mode; auto mode always uses 1000.
  int32_t callback_inline = 0;  // Sync mode only: callbacks run on the thread that asks for them.
  int32_t opaque_16 = 0;
  int32_t opaque_17 = 0;
  int32_t opaque_18 = 0;
  int32_t opaque_19 = 1;
  int32_t opaque_20 = 3;
  int32_t opaque_21 = 0;
  int32_t opaque_22 = 1024;
  int32_t opaque_23 = 1024;
  int32_t opaque_24 = 0;
  int32_t opaque_25 = 100;
  int32_t opaque_26 = 0;  // Above 0: samples kept, for fast streams of small messages. Else the envelope decides.
};

// Quality of a request/response client. DDSTools derives from it the Qos of the request and of the response topic.
struct RpcQos {
  int32_t core_kind = 0;
  int32_t payload_kind = 0;
  int32_t opaque_2 = 0;
  int32_t opaque_3 = 0;
  int32_t opaque_4 = 3;
  int32_t opaque_5 = 0;
  int32_t opaque_6 = 5000;
  int32_t opaque_7 = 10;
  int32_t opaque_8 = 400;
  int32_t opaque_9 = 100;
  int32_t opaque_10 = 3;
  int32_t opaque_11 = 4096;
  int32_t opaque_12 = 0;
  int32_t opaque_13 = 1;
  int32_t opaque_14 = 3;
  int32_t opaque_15 = 0;
  int32_t opaque_16 = 1024;
  int32_t opaque_17 = 1024;
  int32_t opaque_18 = 1024;
  int32_t opaque_19 = 1024;
};

// The payload_kind of the large envelope.
inline constexpr int32_t kLargePayloadKind = 6;

}  // namespace norvik::ovimux

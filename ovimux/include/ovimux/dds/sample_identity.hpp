#pragma once

#include <array>
#include <cstdint>

namespace norvik::ovimux {

// Names one DDS sample: its writer, and its number there.
struct SampleIdentity {
  std::array<uint8_t, 16> writer_guid{};
  uint64_t sequence_number = 0;
};

// Where a received sample comes from: its own identity, and that of the request it answers, all zero if it answers
// none.
struct SampleOrigin {
  SampleIdentity sample;
  SampleIdentity related;
};

}  // namespace norvik::ovimux

#pragma once

#include <cstddef>
#include <cstdint>

#include "ovimux/dds/envelope.hpp"

namespace norvik::ovimux {

// Bytes of a serialised envelope in front of its payload: encapsulation, twelve fields, and the payload's length.
inline constexpr size_t kEnvelopeHeaderSize = 56;

// Serialises into `buffer` as XCDR1, little endian, and returns the length; 0 when the payload exceeds `bound` or does
// not fit, or when the source fails.
size_t encode_envelope(const Envelope& envelope, size_t bound, uint8_t* buffer, size_t capacity);

// Reads either byte order. A payload longer than `bound` or than the buffer, or a buffer too short for the header,
// gives false and leaves `envelope` unspecified.
bool decode_envelope(const uint8_t* buffer, size_t length, size_t bound, Envelope& envelope);

}  // namespace norvik::ovimux

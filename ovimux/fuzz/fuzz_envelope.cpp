// Feeds arbitrary bytes to the envelope decoder, as a peer could. What is accepted must survive a round trip.
#include <cstdlib>
#include <vector>

#include "dds/envelope/envelope_codec.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace norvik::ovimux;  // NOLINT(google-build-using-namespace)
  constexpr size_t kBound = 256;   // Small, so that the fuzzer reaches both sides of it.
  Envelope envelope;
  if (!decode_envelope(data, size, kBound, envelope)) {
    return 0;
  }
  std::vector<uint8_t> buffer(kEnvelopeHeaderSize + envelope.raw_data.size());
  Envelope again;
  if (encode_envelope(envelope, kBound, buffer.data(), buffer.size()) != buffer.size() ||
      !decode_envelope(buffer.data(), buffer.size(), kBound, again) || again.raw_data != envelope.raw_data ||
      again.pkg_len != envelope.pkg_len || again.segment_flag != envelope.segment_flag) {
    std::abort();
  }
  return 0;
}

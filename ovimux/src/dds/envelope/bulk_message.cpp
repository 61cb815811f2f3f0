#include "ovimux/dds/bulk_message.hpp"

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/wire_format_lite.h>

#include <optional>

namespace norvik::ovimux {
namespace {

using google::protobuf::internal::WireFormatLite;
using google::protobuf::io::CodedInputStream;

size_t position_of(const CodedInputStream& input) { return static_cast<size_t>(input.CurrentPosition()); }

// The field whose tag, at `start`, has just been read; empty when it does not end within the payload.
std::optional<BulkPart> read_bytes_field(CodedInputStream& input, size_t start) {
  uint32_t length = 0;
  if (!input.ReadVarint32(&length)) {
    return std::nullopt;
  }
  const size_t content = position_of(input);
  if (!input.Skip(static_cast<int>(length))) {
    return std::nullopt;
  }
  return BulkPart{{start, content - start + length}, {content, length}};
}

}  // namespace

BulkPart find_bytes_field(const uint8_t* payload, size_t size, int field) {
  const uint32_t wanted = WireFormatLite::MakeTag(field, WireFormatLite::WIRETYPE_LENGTH_DELIMITED);
  CodedInputStream input(payload, static_cast<int>(size));
  BulkPart found;
  while (position_of(input) < size) {
    const size_t start = position_of(input);
    const uint32_t tag = input.ReadTag();
    if (tag != wanted) {
      if (tag == 0 || !WireFormatLite::SkipField(&input, tag)) {
        return {};
      }
      continue;
    }
    const auto part = read_bytes_field(input, start);
    if (!part || found.whole.size > 0) {
      return {};
    }
    found = *part;
  }
  return found.content.size > 0 ? found : BulkPart{};
}

}  // namespace norvik::ovimux

#pragma once

#include <string>

#include "ovimux/export.hpp"

namespace norvik::ovimux {

// Knows the schemas of the message types that are linked into the process.
class OVIMUX_EXPORT ProtobufFactory {
 public:
  static ProtobufFactory* Instance(bool create = true);

  // The readable form of a message's schema; `text` is left alone for a type that is not linked in.
  void GetDescriptorString(const std::string& type, std::string* text) const;
};

}  // namespace norvik::ovimux

#pragma once

#include <functional>
#include <string>

#include "ovimux/base/client_base.hpp"
#include "ovimux/base/reader_base.hpp"
#include "ovimux/base/writer_base.hpp"

namespace norvik::ovimux {

// Payload, its length in bytes, and the context pointer given at creation. The bytes live until the callback returns.
using RawReaderCallback = std::function<void(const void*, int, const void*)>;

using RawReader = SerializationReader<std::string>;
using RawWriter = SerializationWriter<std::string>;
using RawClient = SerializationClient<std::string, std::string>;

}  // namespace norvik::ovimux

#pragma once

#include <functional>

#include "ovimux/export.hpp"
#include "ovimux/log.hpp"

namespace norvik::ovimux {

inline constexpr const char* kOvimuxBuildVersion = "V9.1.2";

// Starts the middleware's core: signal handling and process state. Safe to call repeatedly and from any thread. The
// DDS participant itself is made with the first endpoint.
OVIMUX_EXPORT void OvimuxInitInternal();

// True until a shutdown was asked for. Costs one atomic load.
OVIMUX_EXPORT bool OK();

// Asks for shutdown: OK() turns false for all threads, and stays so. Returns at once.
OVIMUX_EXPORT void AsyncShutdown();

// Blocks until a requested shutdown has finished, waiting for the request if there is none yet.
OVIMUX_EXPORT void WaitForShutdown();

// Registers what runs, on a thread of the middleware, when SIGINT or SIGTERM has stopped it. With a predicate, only if
// that returns true. A new registration replaces the old one.
OVIMUX_EXPORT void OvimuxSetExitCallback(std::function<void()> callback, std::function<bool()> predicate);

// Shuts down if that has not happened, and deletes every DDS entity of the process. Endpoints that are still held stay
// valid objects that do nothing. Must not be called from a reader callback.
OVIMUX_EXPORT void Clear();

// What every facade calls at the head of its initialisation.
inline void OvimuxInit() {
  OvimuxInitInternal();
  OVIMUX_LOG(kInfo) << "Ovimux build version: " << kOvimuxBuildVersion;
}

}  // namespace norvik::ovimux

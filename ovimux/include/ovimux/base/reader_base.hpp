#pragma once

#include "ovimux/export.hpp"

namespace norvik::ovimux {

// Root of all readers. Destroying a reader waits for its callback to return, unless it is destroyed by that callback.
class OVIMUX_EXPORT ReaderBase {
 public:
  ReaderBase() = default;
  virtual ~ReaderBase();
  ReaderBase(const ReaderBase&) = delete;
  ReaderBase& operator=(const ReaderBase&) = delete;
};

// Delivers messages of one type to a callback. In auto mode samples are delivered on the worker pool as they arrive;
// in sync mode the program asks for them.
template <typename T>
class SerializationReader : public ReaderBase {
 public:
  // Delivers at most one queued sample. Does nothing and returns true in auto mode.
  virtual bool SyncOnce() = 0;

  // Delivers every queued sample. Does nothing and returns true in auto mode.
  virtual bool SyncAll() = 0;

  virtual bool CallbackModeIsAuto() = 0;
};

}  // namespace norvik::ovimux

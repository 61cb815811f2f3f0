#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <memory>

#include "ovimux/export.hpp"

namespace norvik::ovimux {

// Root of all request/response clients.
class OVIMUX_EXPORT ClientBase {
 public:
  ClientBase() = default;
  virtual ~ClientBase();
  ClientBase(const ClientBase&) = delete;
  ClientBase& operator=(const ClientBase&) = delete;
};

// Sends requests to one service and hands out its answers. Safe to use from any thread.
template <typename Req, typename Resp>
class SerializationClient : public ClientBase {
 public:
  using ResponsePtr = std::shared_ptr<Resp>;
  using ResponseFuture = std::shared_future<ResponsePtr>;
  using ResponseCallback = std::function<void(ResponseFuture)>;

  // Sends `request` and blocks until its answer or `timeout`. Empty when no server is matched (at once), when sending
  // failed, on time-out and on shutdown.
  virtual ResponsePtr SendRequest(std::shared_ptr<const Req> request, const std::chrono::seconds& timeout) = 0;
  virtual ResponsePtr SendRequest(const Req& request, const std::chrono::seconds& timeout) = 0;

  // Sends `request` and returns a future of the answer, invalid when nothing was sent. `callback` runs on a worker with
  // the client's request lock held; it must not call back into the client.
  virtual ResponseFuture AsyncSendRequest(std::shared_ptr<const Req> request, ResponseCallback callback) = 0;
  virtual ResponseFuture AsyncSendRequest(const Req& request) = 0;
  virtual ResponseFuture AsyncSendRequest(std::shared_ptr<const Req> request) = 0;

  // Blocks until a server is matched, at most `timeout` plus 100 ms; GetMatchedServerCount() tells the outcome.
  virtual void WaitForServerConnected(const std::chrono::seconds& timeout) = 0;

  // Servers of which both the request reader and the response writer are matched.
  virtual unsigned GetMatchedServerCount() = 0;

  // How many matched servers have gone so far. A server that dies is noticed when its lease runs out, after 5 s.
  virtual unsigned GetLostServerCount() { return 0; }
};

}  // namespace norvik::ovimux

#pragma once

#include <openssl/ssl.h>

#include <list>
#include <memory>
#include <string>
#include <thread>

#include "support/temp_dir.hpp"

namespace norvik::test {

// Where a TLS server on the loopback stops answering.
enum class TlsStage { accept, handshake, headers, body, nowhere };

// Answers every connection with a release record up to its stage and then says nothing until the client hangs up.
class TlsStub {
 public:
  explicit TlsStub(TlsStage stage);
  ~TlsStub();
  TlsStub(const TlsStub&) = delete;
  TlsStub& operator=(const TlsStub&) = delete;

  std::string url() const { return "https://127.0.0.1:" + std::to_string(port_) + "/latest"; }
  // The server's own certificate, for the client to trust.
  std::string authorities() const { return directory_ / "certificate.pem"; }

 private:
  void make_certificate();
  void serve();
  void answer(int connection);
  void talk(SSL* session) const;

  const TlsStage stage_;
  TempDir directory_;
  std::shared_ptr<SSL_CTX> context_;
  int listener_ = -1;
  int wake_[2] = {-1, -1};  // readable once the server is to end
  int port_ = 0;
  std::list<std::thread> connections_;
  std::thread server_;
};

}  // namespace norvik::test

#include "tls_stub.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <stdexcept>

namespace norvik::test {
namespace {

constexpr char kBody[] = R"({"tag_name": "v1.9.2"})";
constexpr char kHeaders[] = "HTTP/1.1 200 OK\r\nContent-Length: 22\r\nConnection: close\r\n\r\n";
constexpr long kLifeSeconds = 3600;

}  // namespace

TlsStub::TlsStub(TlsStage stage) : stage_(stage), context_(SSL_CTX_new(TLS_server_method()), &SSL_CTX_free) {
  std::signal(SIGPIPE, SIG_IGN);  // clients hang up whenever they like
  make_certificate();
  listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof(address);
  if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 || ::listen(listener_, 64) != 0 ||
      ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0 || ::pipe(wake_) != 0) {
    throw std::runtime_error("no loopback server");
  }
  port_ = ntohs(address.sin_port);
  if (stage_ != TlsStage::accept) server_ = std::thread([this] { serve(); });
}

TlsStub::~TlsStub() {
  static_cast<void>(!::write(wake_[1], "x", 1));
  if (server_.joinable()) server_.join();
  for (auto& connection : connections_) connection.join();
  ::close(listener_);
  ::close(wake_[0]);
  ::close(wake_[1]);
}

void TlsStub::make_certificate() {
  const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_EC_gen("P-256"), &EVP_PKEY_free);
  const std::unique_ptr<X509, decltype(&X509_free)> certificate(X509_new(), &X509_free);
  X509_set_version(certificate.get(), X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -kLifeSeconds);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), kLifeSeconds);
  X509_set_pubkey(certificate.get(), key.get());
  X509_NAME* const name = X509_get_subject_name(certificate.get());
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("stub"), -1, -1, 0);
  X509_set_issuer_name(certificate.get(), name);
  X509_EXTENSION* const address = X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, "IP:127.0.0.1");
  X509_add_ext(certificate.get(), address, -1);
  X509_EXTENSION_free(address);
  X509_sign(certificate.get(), key.get(), EVP_sha256());
  SSL_CTX_use_certificate(context_.get(), certificate.get());
  SSL_CTX_use_PrivateKey(context_.get(), key.get());
  std::FILE* const file = std::fopen(authorities().c_str(), "w");
  PEM_write_X509(file, certificate.get());
  std::fclose(file);
}

void TlsStub::serve() {
  for (;;) {
    std::array<pollfd, 2> waiting{{{listener_, POLLIN, 0}, {wake_[0], POLLIN, 0}}};
    ::poll(waiting.data(), waiting.size(), -1);
    if (waiting[1].revents != 0) return;
    const int connection = ::accept(listener_, nullptr, nullptr);
    connections_.emplace_back([this, connection] { answer(connection); });
  }
}

void TlsStub::answer(int connection) {
  {
    const std::unique_ptr<SSL, decltype(&SSL_free)> session(SSL_new(context_.get()), &SSL_free);
    SSL_set_fd(session.get(), connection);
    if (stage_ != TlsStage::handshake && SSL_accept(session.get()) == 1) talk(session.get());
  }
  std::array<pollfd, 2> waiting{{{connection, POLLRDHUP, 0}, {wake_[0], POLLIN, 0}}};
  if (stage_ != TlsStage::nowhere) ::poll(waiting.data(), waiting.size(), -1);
  ::close(connection);
}

void TlsStub::talk(SSL* session) const {
  std::array<char, 4096> request{};
  if (SSL_read(session, request.data(), request.size()) <= 0 || stage_ == TlsStage::headers) return;
  SSL_write(session, kHeaders, sizeof(kHeaders) - 1);
  SSL_write(session, kBody, stage_ == TlsStage::body ? 5 : static_cast<int>(sizeof(kBody) - 1));
}

}  // namespace norvik::test

// A program that ends while the version check is under way ends with its own status, and at once.
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "tls_stub.hpp"

namespace norvik::sdk {
namespace {

using test::TlsStage;
using test::TlsStub;
using Clock = std::chrono::steady_clock;

struct Ended {
  int status;  // as waitpid gives it
  Clock::duration after;
};

Ended run(std::string url, std::string authorities, int delay_ms, bool openssl_before) {
  char program[] = NORVIK_SHORT_PROGRAM;
  std::string delay = std::to_string(delay_ms);
  char before[] = {openssl_before ? '1' : '0', '\0'};
  char* argv[] = {program, url.data(), authorities.data(), delay.data(), before, nullptr};
  const auto start = Clock::now();
  pid_t pid = -1;
  Ended ended{-1, {}};
  if (::posix_spawn(&pid, program, nullptr, nullptr, argv, environ) == 0) ::waitpid(pid, &ended.status, 0);
  ended.after = Clock::now() - start - std::chrono::milliseconds(delay_ms);
  return ended;
}

void expect_clean_ends(const std::string& url, const std::string& authorities) {
  for (const bool openssl_before : {false, true}) {
    for (const int delay_ms : {0, 2, 5, 10, 40}) {
      SCOPED_TRACE(url + " after " + std::to_string(delay_ms) + " ms" + (openssl_before ? ", OpenSSL in use" : ""));
      const Ended ended = run(url, authorities, delay_ms, openssl_before);
      EXPECT_TRUE(WIFEXITED(ended.status)) << "signal " << WTERMSIG(ended.status);
      EXPECT_EQ(WEXITSTATUS(ended.status), 3);
      EXPECT_LT(ended.after, std::chrono::seconds(1));
    }
  }
}

class ShortProgram : public ::testing::TestWithParam<TlsStage> {};

TEST_P(ShortProgram, IsNotHarmedByAServerThatIsSlow) {
  const TlsStub server(GetParam());
  expect_clean_ends(server.url(), server.authorities());
}

INSTANTIATE_TEST_SUITE_P(Stages, ShortProgram,
                         ::testing::Values(TlsStage::accept, TlsStage::handshake, TlsStage::headers, TlsStage::body,
                                           TlsStage::nowhere));

// Refused, no route, no such name; the last two with the certificates of the system.
TEST(ShortProgramAlone, IsNotHarmedWithoutAServer) {
  for (const char* const url : {"https://127.0.0.1:1/", "https://192.0.2.1/", "https://name.invalid/"}) {
    expect_clean_ends(url, "");
  }
}

// With time enough, the answer of the same server is read to its end.
TEST(ShortProgramAlone, HearsOfTheRelease) {
  const TlsStub server(TlsStage::nowhere);
  ::testing::internal::CaptureStderr();
  run(server.url(), server.authorities(), 3000, false);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "A new version 1.9.2 is available. Visit https://page.example for upgrade instructions\n");
}

}  // namespace
}  // namespace norvik::sdk

// A program that ends while the version check is under way ends with its own status, and at once.
#include <chrono>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "support/child_process.hpp"
#include "tls_stub.hpp"

namespace norvik::sdk {
namespace {

using test::TlsStage;
using test::TlsStub;
using Clock = std::chrono::steady_clock;

struct Ended {
  std::optional<int> status;
  Clock::duration after;
};

Ended run(const std::string& url, const std::string& authorities, int delay_ms, bool openssl_before) {
  const auto start = Clock::now();
  test::ChildProcess program(
      {NORVIK_SHORT_PROGRAM, url, authorities, std::to_string(delay_ms), openssl_before ? "1" : "0"},
      test::Streams::inherited);
  const auto status = program.wait_for_exit(std::chrono::seconds(60));
  return {status, Clock::now() - start - std::chrono::milliseconds(delay_ms)};
}

void expect_clean_ends(const std::string& url, const std::string& authorities) {
  for (const bool openssl_before : {false, true}) {
    for (const int delay_ms : {0, 2, 5, 10, 40}) {
      SCOPED_TRACE(url + " after " + std::to_string(delay_ms) + " ms" + (openssl_before ? ", OpenSSL in use" : ""));
      const Ended ended = run(url, authorities, delay_ms, openssl_before);
      EXPECT_EQ(ended.status, 3) << "above 128 for a signal";
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

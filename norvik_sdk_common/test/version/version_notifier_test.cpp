#include "version_notifier.hpp"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "http_stub.hpp"

namespace norvik::sdk {
namespace {

using test::HttpStub;
using ::testing::HasSubstr;

constexpr char kPage[] = "https://page.example";
constexpr char kNewer[] = R"({"tag_name": "v1.9.2"})";
constexpr char kNewerNotice[] =
    "A new version 1.9.2 is available. Visit https://page.example for upgrade instructions\n";

TEST(UpgradeNotice, IsGivenForAGreaterWeightOnly) {
  struct Case {
    std::string body;
    SdkVersion current;
    const char* announced;  // null: no notice
  };
  const SdkVersion current{1, 9, 1};
  const Case cases[] = {
      {R"({"tag_name":"V1.9.2"})", current, "1.9.2"},
      {R"({"name": "x", "tag_name"  :  "vVv2.0.0-rc1", "z": 1})", current, "2.0.0-rc1"},
      {R"({"tag_name":"1.9.1"})", current, nullptr},
      {R"({"tag_name":"1.9.0"})", current, nullptr},
      {R"({"tag_name":"0.99.99"})", current, nullptr},
      {R"({"tag_name":"1.100.0"})", {2, 0, 0}, nullptr},
      {R"({"tag_name":"1.100.1"})", {2, 0, 0}, "1.100.1"},
      {R"({"tag_name":"9.9"})", current, nullptr},
      {R"({"tag_name":"release-9.9.9"})", current, nullptr},
      {R"({"tag_name":"v"})", current, nullptr},
      {R"({"tag_name":""})", current, nullptr},
      {R"({"tag_name":"9.9.9)", current, nullptr},
      {R"({"tag_name": null})", current, nullptr},
      {R"({"tag_name" "9.9.9"})", current, nullptr},
      {R"({"tag":"9.9.9"})", current, nullptr},
      {"\"tag_name\"", current, nullptr},
      {"", current, nullptr},
      {R"({"tag_name":"99999999999999999999.0.0"})", current, nullptr},  // wraps to a negative number
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.body);
    std::optional<std::string> expected;
    if (c.announced != nullptr) {
      expected =
          std::string("A new version ") + c.announced + " is available. Visit " + kPage + " for upgrade instructions\n";
    }
    EXPECT_EQ(upgrade_notice(c.body, c.current, kPage), expected);
  }
}

TEST(ExtractTag, TakesTheFirstQuotedTextBehindTheColon) {
  EXPECT_EQ(extract_tag(R"("tag_name" junk : 7, "next": "v1")"), "next");
  EXPECT_EQ(extract_tag(R"("tag_name":"a\"b")"), "a\\");
}

class VersionCheck : public ::testing::Test {
 protected:
  ~VersionCheck() override { ::setenv("NORVIK_SDK_SKIP_VERSION_CHECK", "1", 1); }

  // What the worker writes.
  static std::string run(const std::string& url, const char* skip = nullptr) {
    skip == nullptr ? ::unsetenv("NORVIK_SDK_SKIP_VERSION_CHECK") : ::setenv("NORVIK_SDK_SKIP_VERSION_CHECK", skip, 1);
    int ends[2];
    EXPECT_EQ(::pipe(ends), 0);
    version_check_worker({url, kPage, ""}, ends[1]);
    ::close(ends[1]);
    std::string written(1000, '\0');
    written.resize(static_cast<std::size_t>(std::max<ssize_t>(::read(ends[0], written.data(), written.size()), 0)));
    ::close(ends[0]);
    return written;
  }
};

TEST_F(VersionCheck, TellsOnlyOfACompleteAnswerWithStatus200) {
  struct Case {
    const char* what;
    std::vector<std::string> answers;
    const char* written;
  };
  const Case cases[] = {
      {"newer", {HttpStub::answer("200 OK", kNewer)}, kNewerNotice},
      {"after a redirection",
       {HttpStub::answer("302 Found", "", "Location: /elsewhere\r\n"), HttpStub::answer("200 OK", kNewer)},
       kNewerNotice},
      {"forbidden", {HttpStub::answer("403 Forbidden", kNewer)}, ""},
      {"accepted", {HttpStub::answer("202 Accepted", kNewer)}, ""},
      {"no tag", {HttpStub::answer("200 OK", "{}")}, ""},
      {"cut off", {"HTTP/1.1 200 OK\r\nContent-Length: 500\r\n\r\n" + std::string(kNewer)}, ""},
      {"not HTTP", {"nonsense"}, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    HttpStub server(c.answers);
    EXPECT_EQ(run(server.url()), c.written);
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), c.answers.size());
    EXPECT_THAT(requests[0], HasSubstr("User-Agent: NorvikSDK/1.9.1\r\n"));
  }
}

TEST_F(VersionCheck, IsSkippedByExactlyOne) {
  for (const auto& [value, skipped] :
       {std::pair{"1", true}, {"0", false}, {"", false}, {"11", false}, {"true", false}}) {
    SCOPED_TRACE(value);
    HttpStub server({HttpStub::answer("200 OK", kNewer)});
    EXPECT_EQ(run(server.url(), value), skipped ? "" : kNewerNotice);
    EXPECT_EQ(server.requests().size(), skipped ? 0U : 1U);
  }
}

TEST_F(VersionCheck, IsSilentWithoutAServer) {
  std::string dead_url;
  {
    HttpStub gone({});
    dead_url = gone.url();
  }
  EXPECT_EQ(run(dead_url), "");
  EXPECT_EQ(run("no url at all"), "");
}

TEST_F(VersionCheck, GivesUpOnASilentServerAfterThreeSeconds) {
  HttpStub server({});
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(run(server.url()), "");
  const auto elapsed = std::chrono::steady_clock::now() - start;
  EXPECT_GE(elapsed, std::chrono::milliseconds(2500));
  EXPECT_LT(elapsed, std::chrono::seconds(6));
}

}  // namespace
}  // namespace norvik::sdk

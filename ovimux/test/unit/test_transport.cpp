#include <gtest/gtest.h>

#include <chrono>
#include <map>

#include "dds/transport/address_watch.hpp"
#include "dds/transport/port_watch.hpp"

namespace norvik::ovimux {
namespace {

TEST(PortWatch, TellsAPortWhoseFileWasReplaced) {
  std::map<uint32_t, FileId> files = {{7, 100}, {8, 200}};
  PortWatch watch([&files](uint32_t port) { return files[port]; });
  const auto send = [&watch](uint32_t port) {
    watch.sends_to(port);
    watch.sent();
  };
  files[8] = 201;
  EXPECT_EQ(std::nullopt, watch.replaced_port()) << "nothing was sent there yet";
  send(7);
  send(8);
  send(9);
  EXPECT_EQ(std::nullopt, watch.replaced_port());
  files[9] = 300;
  EXPECT_EQ(std::nullopt, watch.replaced_port()) << "it had no file, so nothing old is mapped";
  send(9);
  files[7] = 0;
  EXPECT_EQ(std::nullopt, watch.replaced_port()) << "gone, but not replaced";
  files[7] = 101;
  EXPECT_EQ(7U, watch.replaced_port());
  send(7);
  EXPECT_EQ(7U, watch.replaced_port()) << "sending again does not open the new file";
  files[7] = 100;
  files[9] = 301;
  EXPECT_EQ(9U, watch.replaced_port());
}

TEST(AddressWatch, EndsAtOnce) {
  EXPECT_EQ(1U, usable_addresses().count("1: lo 127.0.0.1"));
  const auto start = std::chrono::steady_clock::now();
  {
    const AddressWatch watch([](const std::string& /*addresses*/) { return true; });
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

}  // namespace
}  // namespace norvik::ovimux

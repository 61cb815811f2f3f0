// Feeds arbitrary bytes to everything that reads an answer of the robot's navigation: box lists, localisation scores
// and configurations. The first byte chooses.
#include <cstdint>
#include <exception>
#include <string>

#include "impl/boxes/fusion_box.hpp"
#include "impl/replies/localization_score.hpp"
#include "impl/replies/navigation_config_reply.hpp"

namespace {

using namespace norvik;  // NOLINT(google-build-using-namespace)

void read_score(const std::string& text) {
  try {
    sdk::score_at(sdk::parse_localization_score(text), 0.0);
  } catch (const std::exception&) {  // What the callback makes a record of.
  }
}

// As the text of a configuration, and as the whole reply.
void read_configuration(const std::string& bytes) {
  sdk::NaviConfigReply reply;
  reply.mutable_configs()->set_config_msg(bytes);
  sdk::log_config_reply("key", reply);
  if (reply.ParseFromString(bytes)) {
    sdk::check_config_reply_id("name", "id", reply);
    sdk::log_config_reply("key", reply);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) {
    return 0;
  }
  const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  if (data[0] % 3 == 0) {
    sdk::read_box_list(bytes);
  } else if (data[0] % 3 == 1) {
    read_score(bytes);
  } else {
    read_configuration(bytes);
  }
  return 0;
}

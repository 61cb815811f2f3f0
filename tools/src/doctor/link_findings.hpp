#pragma once

#include <string>
#include <vector>

#include "doctor/finding.hpp"
#include "network/channel.hpp"
#include "network/picture.hpp"

namespace norvik::tools {

// Writers and readers of one topic that DDS does not connect, and channels of which the two sides disagree about the
// type of the messages. With a model also what programs of this release, were they there, could not exchange with the
// robot.
Findings judge_compatibility(const Picture& picture, const std::string& model);

}  // namespace norvik::tools

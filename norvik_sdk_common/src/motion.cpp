#include <norvik_sdk/motion.hpp>

namespace norvik::sdk {

const std::shared_ptr<Parameter> default_param = std::make_shared<Parameter>();

}  // namespace norvik::sdk

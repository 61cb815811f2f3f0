#include "common_provider.hpp"

namespace norvik::sdk {

std::function<ControlStatus(std::unordered_map<std::string, JointStateMessage>&)>
    JointStateProvider::get_whole_body_joint_state_func_;
std::function<std::vector<double>(const std::vector<std::string>&, const std::vector<std::string>&)>
    JointStateProvider::get_joint_positions_func_;
std::function<ControlStatus(const std::vector<double>&, const std::vector<std::string>&,
                            const std::vector<std::string>&, bool, double, double)>
    JointPositionControlProvider::set_joint_positions_func_;
std::function<MotionStatus(bool, double, double, std::shared_ptr<void>)>
    WholeBodyJointProvider::move_whole_body_joint_zero_func_;
std::function<std::vector<double>()> BaseStateProvider::get_base_state_func_;

}  // namespace norvik::sdk

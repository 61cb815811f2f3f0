// Lets the fingers of the left hand make two gestures. Needs an Inspire hand: norvik_simulator --hand inspire

#include "support.hpp"

using namespace norvik::sdk;

namespace {

const std::string kHand = groups::kLeftDexhand;
constexpr double kTolerance = 10.0;  // in the unit of the hand, whose joints go from 0 to 1000

std::vector<double> positions_of(const DexhandState& state) {
  std::vector<double> positions;
  for (const JointState& joint : state.joint_state.joint_states) {
    positions.push_back(joint.position);
  }
  return positions;
}

void print(const std::vector<double>& positions) {
  std::cout << "  joints at";
  for (const double position : positions) {
    std::cout << ' ' << position;
  }
  std::cout << std::endl;
}

bool make_gesture(NorvikRobot& robot, const std::string& name, const std::vector<double>& positions) {
  std::vector<JointCommand> commands;
  for (const double position : positions) {
    JointCommand command;
    command.position = position;
    command.velocity = 500.0;
    command.effort = 300.0;
    commands.push_back(command);
  }
  if (!examples::report(name, [&] { return robot.set_dexhand_command(kHand, commands, DexHandType::INSPIRE); })) {
    return false;
  }

  // The command counts a hand as arrived that is near; the gesture is made when every joint is in place.
  DexhandState state;
  const bool made = examples::wait_until(
      [&] {
        return robot.get_dexhand_state(kHand, state, DexHandType::INSPIRE) == ControlStatus::SUCCESS &&
               examples::is_near(positions_of(state), positions, kTolerance);
      },
      5.0);
  print(positions_of(state));
  return made;
}

bool gesture(NorvikRobot& robot) {
  return make_gesture(robot, "All fingers half way", std::vector<double>(6, 500.0)) &&
         make_gesture(robot, "One finger apart", {0.0, 0.0, 0.0, 1000.0, 0.0, 0.0});
}

}  // namespace

int main() { return examples::run(gesture); }

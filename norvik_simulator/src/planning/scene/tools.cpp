#include "planning/scene/scene.hpp"

#include <algorithm>

namespace norvik::simulator::planning {

namespace {

KDL::Frame below(double metres) { return KDL::Frame(KDL::Vector(0, 0, -metres)); }

ToolModel::Body box(double x, double y, double height) { return {Box{{x, y, height}}, below(height / 2)}; }

ToolModel::Body cylinder(double radius, double top, double bottom) {
  return {Cylinder{radius, bottom - top}, below((top + bottom) / 2)};
}

ToolModel tool(const std::string& name, double length, std::vector<ToolModel::Body> bodies) {
  return {name, below(length), std::move(bodies), name + "_base_link", name + "_tcp_link"};
}

// The end effector links look along -z with the arm hanging down.
const std::vector<ToolModel>& all_tools() {
  static const std::vector<ToolModel> kTools = {
      {"None", KDL::Frame::Identity(), {}, "", ""},
      tool("gripper_hitbot", 0.15, {box(0.08, 0.12, 0.14)}),
      tool("suction_cup", 0.12, {cylinder(0.03, 0.0, 0.07), cylinder(0.02, 0.07, 0.12)}),
      tool("robotiq_gripper", 0.16, {box(0.09, 0.14, 0.15)}),
      tool("norvik_gripper", 0.14, {box(0.08, 0.13, 0.13)}),
      tool("HX407", 0.18, {cylinder(0.04, 0.0, 0.1), cylinder(0.02, 0.1, 0.18)}),
      tool("HX407v1", 0.2, {cylinder(0.04, 0.0, 0.12), cylinder(0.02, 0.12, 0.2)}),
  };
  return kTools;
}

}  // namespace

std::vector<std::string> tool_names() {
  std::vector<std::string> names;
  for (const ToolModel& tool : all_tools()) {
    names.push_back(tool.name);
  }
  return names;
}

const ToolModel* find_tool(const std::string& name) {
  const auto& tools = all_tools();
  const auto it = std::find_if(tools.begin(), tools.end(), [&](const ToolModel& tool) { return tool.name == name; });
  return it == tools.end() ? nullptr : &*it;
}

}  // namespace norvik::simulator::planning

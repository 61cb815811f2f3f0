#pragma once

// Everything that the library offers.
#include <norvik_sdk/call_log.hpp>
#include <norvik_sdk/console_input.hpp>
#include <norvik_sdk/navigation_helpers.hpp>
#include <norvik_sdk/norvik_motion.hpp>
#include <norvik_sdk/norvik_navigation.hpp>
#include <norvik_sdk/norvik_robot.hpp>
#include <norvik_sdk/robot_helpers.hpp>
#include <norvik_sdk/sdk_logger.hpp>
#include <norvik_sdk/sensor_callbacks.hpp>
#include <norvik_sdk/types.hpp>
#include <norvik_sdk/version.hpp>

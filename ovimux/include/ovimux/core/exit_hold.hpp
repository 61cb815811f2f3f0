#pragma once

#include "ovimux/export.hpp"

namespace norvik::ovimux {

// To be called at the end of a wait. A thread that waited while another one called exit() must not come back: what it
// would come back to is being destroyed. It is held here until the process is gone. Returns at once otherwise.
OVIMUX_EXPORT void hold_while_exiting();

}  // namespace norvik::ovimux

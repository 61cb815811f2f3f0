#pragma once

#include "ovimux/export.hpp"

namespace norvik::ovimux {

// To be called at the end of a wait. A thread that waited while another one called exit() should not come back to an
// application that is being destroyed: it is held here, usually until the process is gone, at most for 0.4 s, since a
// destructor may be waiting for it. Returns at once otherwise.
OVIMUX_EXPORT void hold_while_exiting();

}  // namespace norvik::ovimux

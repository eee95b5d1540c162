// The aircraft's data as the operator types it.
#pragma once

#include "link/nav_block.h"

struct TelemetryForm;

// Takes all fields of the dialog but the time into `nav`; nothing is sent by this. Text that is not a number
// becomes 0. GUI thread.
void takeTypedData(const TelemetryForm& form, sorvane::NavBlock& nav);

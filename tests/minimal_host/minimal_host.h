#pragma once

#include "host/Export.h"

// Blocks that the host has given out and not got back.
extern HOST_EXPORT int live_blocks;

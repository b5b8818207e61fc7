#pragma once

// Blocks that the host has given out and not got back.
extern int live_blocks;

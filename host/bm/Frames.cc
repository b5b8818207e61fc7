#include <array>
#include <cstdio>

#include "embedded/PFhost.h"
#include "host/BM.h"
#include "u/Blocks.h"
#include "u/ThreadState.h"

void* BM_AllocateFrameQuiet(std::uint64_t size) { return pfhost::AllocateBlock(size, pfhost::kPixelAlignment); }

void BM_FreeFrame(void* frame, std::uint64_t) { pfhost::FreeBlock(frame, pfhost::kPixelAlignment); }

void BM_ReportWorldAllocationFailure(U_Err error, std::int32_t row_bytes, std::int32_t width, std::int32_t height,
                                     std::int32_t bits_per_pixel) {
  std::array<char, 160> text;
  std::snprintf(text.data(), text.size(), "image buffer of %d x %d pixels, %d bits each, %d bytes a row", width, height,
                bits_per_pixel, row_bytes);
  pfhost::AddReport(0, 0, PFHOST_REPORT_OUT_OF_MEMORY, text.data(), error);
}

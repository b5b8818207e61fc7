// How near a picture is to the true one.
#pragma once

#include "Image.h"

namespace pfbench {

struct Quality {
  double psnr;  // decibels, of all channels together; infinite for equal pictures
  double ssim;  // up to 1
};

// Compares what is seen of two pictures of one size; stored values are rounded first.
//
// PSNR: 10 log10(255^2 / mean squared difference). SSIM: structural similarity (Wang, Bovik, Sheikh, Simoncelli 2004)
// of the luminance 0.299 R + 0.587 G + 0.114 B, its mean over the whole picture; windows are bells of 11 x 11 with
// sigma 1.5, mirrored at the edges (the edge pixel once), C1 = 6.5025, C2 = 58.5225.
Quality Compare(const Image& picture, const Image& truth);

}  // namespace pfbench

// The table of what the bodies define.

constexpr MotionKernels kKernels = {&Halve,   &Twice,       &Median,  &Mean,       &SearchFirst, &SearchAgain,
                                    &Densify, &Meet,        &Slopes,  &Refine,     &Hidden,      &Doubt,
                                    &Seen,    &HalveColour, &Compare, &FetchPixels};

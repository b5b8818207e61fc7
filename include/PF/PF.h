/// \file
/// All public headers of the library.
#ifndef PF_H
#define PF_H

#include "PF/PF_Blend.h"
#include "PF/PF_ColorSettings.h"
#include "PF/PF_ColorSpaces.h"
#include "PF/PF_Compositing.h"
#include "PF/PF_Copy.h"
#include "PF/PF_Errors.h"
#include "PF/PF_Filters.h"
#include "PF/PF_FrameBlending.h"
#include "PF/PF_Iterate.h"
#include "PF/PF_LazyTiles.h"
#include "PF/PF_Lifecycle.h"
#include "PF/PF_Masks.h"
#include "PF/PF_Paint.h"
#include "PF/PF_Sampling.h"
#include "PF/PF_TransferModes.h"
#include "PF/PF_Types.h"
#include "PF/PF_Worlds.h"

#endif

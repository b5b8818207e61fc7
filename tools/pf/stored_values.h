/// \file
/// Stored values by the rules of the library's headers, restated value by value: scaled by opacities, taken to linear
/// light and back, rounded. Integers are held as doubles.
#ifndef TOOLS_PF_STORED_VALUES_H
#define TOOLS_PF_STORED_VALUES_H

#include "PF/PF_ColorSettings.h"
#include "PF/PF_Worlds.h"
#include "formulas.h"

namespace pftool {

/// 255, 32768 or 1.
double FullOf(int depth);
/// The pixel of a world as it is stored.
Quad PixelAt(const PF_World& world, int x, int y);
/// A stored pixel on the unit interval, and a value to nearest and within 0..full of an integer depth. Floats stay.
Quad UnitOf(const Quad& stored, int depth);
double RoundedTo(double unit, int depth);
Quad RoundedTo(const Quad& unit, int depth);

/// The depth's value of an opacity.
double StoredOpacity(float opacity, int depth);
/// A value of one depth in another, integers above full as full; floats on floats as they are.
double ConvertedValue(double stored, int from, int to);
/// A value scaled by an opacity; a full one changes nothing.
double ScaledBy(double stored, double opacity, int depth);
/// Colours divided by alpha.
Quad Unmultiplied(const Quad& stored, int depth);

/// 8 and 16 bits work on 16-bit linear values, floats on floats.
int LinearDepth(int depth);
Quad ToLinear(const Quad& stored, int depth, const PF_LinearBlendingTables& tables);
/// One linear colour value, in LinearDepth, as it is stored in `depth`.
double FromLinear(double linear, int depth, const PF_LinearBlendingTables& tables);

}  // namespace pftool

#endif

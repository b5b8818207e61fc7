/// \file
/// One pixel of a blend, step by step, and how far the library's result is from it.
#ifndef TOOLS_PF_EXPLAIN_H
#define TOOLS_PF_EXPLAIN_H

#include <optional>
#include <string>
#include <vector>

#include "formulas.h"
#include "modes.h"
#include "stored_values.h"

namespace pftool {

/// One pixel of each picture as it is stored at the working depth.
struct ExplainCase {
  const ModeText* mode;
  int depth;
  Quad layer, base;
  bool layer_premultiplied;  ///< its colours are to be divided first
  bool inside;               ///< the layer's rectangle has this pixel; else the base stays
  bool covered;              ///< and the mask's, if there is one; else coverage is 0
  float opacity;
  std::optional<double> mask;             ///< coverage in `depth`
  const PF_LinearBlendingTables* tables;  ///< null: stored light
};

/// A line of the explanation.
struct ExplainRow {
  std::string name, formula;
  Quad value;  ///< on the unit interval
  Parts parts;
  int depth;  ///< the value is one of this depth; 0: an intermediate one
};

struct Explanation {
  std::vector<ExplainRow> rows;
  Quad source, base;                ///< as the formula takes them: effective alpha, in linear light where asked for
  Quad stored_source, stored_base;  ///< the same as they are stored
  FormulaResult result;             ///< of the formula, neither rounded nor limited
  Quad stored;                      ///< rounded, and back in stored light
};
Explanation Explain(const ExplainCase& c);

/// How far a stored result of the library is from a formula on stored values, in steps: of 1/255 or 1/32768 from the
/// unrounded result within 0..1; for floats of a millionth (of the value where that is above 1) from the formula in
/// single precision. `library` is of the depth of the case.
double StepsInStoredLight(const FormulaCase& c, const Quad& library);

/// The same for an explained pixel. In linear light a step is a linear 1/32768, and floats may differ by what powers
/// allow that are rounded to within 2 units in the last place.
double StepsFrom(const ExplainCase& c, const Explanation& explanation, const Quad& library);

}  // namespace pftool

#endif

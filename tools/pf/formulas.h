/// \file
/// The transfer modes as formulas, one step after the other: what 'pf explain' shows, and what the library's results
/// are compared with. They restate include/PF/PF_TransferModes.h and share nothing with the library.
#ifndef TOOLS_PF_FORMULAS_H
#define TOOLS_PF_FORMULAS_H

#include <cstdint>
#include <string>
#include <vector>

namespace pftool {

/// A pixel on the unit interval (value / full), straight unless a mode takes it premultiplied.
template <class R>
struct QuadOf {
  R a, r, g, b;
};
using Quad = QuadOf<double>;

/// Which parts of a value count.
enum class Parts {
  kOne,  ///< a single number, in `a`
  kColours,
  kPixel
};

/// One intermediate value.
struct Term {
  std::string name;     ///< "b", "B", "a_r" ...
  std::string formula;  ///< what it was made by, in the names of the terms before
  Quad value;
  Parts parts;
};

/// What a mode is applied to.
struct FormulaCase {
  std::int32_t mode;
  int depth;     ///< 8, 16 or 32: integer depths compare luminances exactly, by their whole numbers
  Quad s, d;     ///< source with its effective alpha, destination
  bool in_rect;  ///< by the rectangle compositor: mattes cut where a_s is 0
};

struct FormulaResult {
  Quad value;           ///< neither rounded nor limited
  bool keeps = false;   ///< the destination stays as it is
  bool copies = false;  ///< the source replaces it whole
};

/// In double precision.
/// \param terms receives the steps; may be null.
FormulaResult Formula(const FormulaCase& c, std::vector<Term>* terms);
/// In single precision and the header's order, which is how float worlds are computed.
FormulaResult FormulaInSingle(const FormulaCase& c);

/// Luminance of a colour, 0.299 R + 0.587 G + 0.114 B.
inline double LuminanceOf(const Quad& p) { return (299 * p.r + 587 * p.g + 114 * p.b) / 1000; }

/// What the family of a mode does with alpha and background, as a sentence; empty for modes of their own kind.
std::string FamilyText(std::int32_t mode);
/// How the result's colours, or its alpha where only that changes, come from the terms.
std::string ResultText(std::int32_t mode);

}  // namespace pftool

#endif

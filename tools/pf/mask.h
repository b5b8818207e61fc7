/// \file
/// Masks as the tool holds them, and mask files.
#ifndef TOOLS_PF_MASK_H
#define TOOLS_PF_MASK_H

#include <memory>
#include <string>

#include "PF/PF_Masks.h"
#include "picture.h"
#include "plan.h"

namespace CLI {
class App;
}

namespace pftool {

/// A mask that is freed with its owner.
using MaskPtr = std::unique_ptr<PF_UnoBuffer>;

/// What of a picture is coverage.
enum class Channel { kAuto = -1, kAlpha = 0, kRed = 1, kGreen = 2, kBlue = 3 };
/// "--channel".
void AddChannelOption(CLI::App& app, Channel* channel);

/// How a mask file is read.
struct MaskReadOptions {
  Channel channel = Channel::kAuto;  ///< kAuto: alpha where there is one, else the only channel
  int deepest = 32;                  ///< 16: float files are converted, with a note
};

/// A mask and the picture that it came from.
struct MaskRead {
  MaskPtr mask;
  PictureFacts facts;
};

/// \throws Failure (71).
MaskPtr NewMask(int width, int height, int depth, const std::string& where);
/// \throws Failure 65 when the picture has colours and neither alpha nor a channel named; else as PictureReader does.
MaskRead ReadMask(const InputName& input, const MaskReadOptions& options, Reporter* reporter);

/// Writes a mask as a picture of one channel, or as a grey one where the format has no such files.
/// \param like the picture that the size's resolution and type come from.
WrittenFacts WriteMask(const PF_UnoBuffer& mask, const PictureFacts& like, const WriteRequest& request,
                       Reporter* reporter);

}  // namespace pftool

#endif

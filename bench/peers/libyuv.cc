// libyuv: four channels of 8 bits alike, with weights of 7 bits.
#include <libyuv/convert_argb.h>
#include <libyuv/convert_from_argb.h>
#include <libyuv/planar_functions.h>
#include <libyuv/scale_argb.h>
#include <libyuv/version.h>

#include <memory>
#include <stdexcept>

#include "Bands.h"
#include "PF/PF_TransferModes.h"
#include "peers/Peers.h"

namespace pfbench {
namespace {

void Must(int error) {
  if (error != 0) throw std::runtime_error("libyuv failed with " + std::to_string(error));
}

std::shared_ptr<Picture> Like(const Picture& picture) {
  return std::make_shared<Picture>(picture.size(), picture.depth());
}

void AddConversion(const Task& task, std::vector<Contender>& contenders) {
  constexpr const char* kLess = "repeats or drops bits, full value 65535";
  const Picture* src = &task.src;
  if (src->depth() == 8 && task.dst.depth() == 16) {
    contenders.push_back({"libyuv ARGBToAR64", kLess, "", [src, dst = Like(task.dst)] {
                            Must(libyuv::ARGBToAR64(src->row<std::uint8_t>(0), src->row_bytes(),
                                                    dst->row<std::uint16_t>(0), dst->row_bytes() / 2, src->width(),
                                                    src->height()));
                          }});
  } else if (src->depth() == 16 && task.dst.depth() == 8) {
    contenders.push_back({"libyuv AR64ToARGB", kLess, "", [src, dst = Like(task.dst)] {
                            Must(libyuv::AR64ToARGB(src->row<std::uint16_t>(0), src->row_bytes() / 2,
                                                    dst->row<std::uint8_t>(0), dst->row_bytes(), src->width(),
                                                    src->height()));
                          }});
  }
}

void AddScale(const Task& task, libyuv::FilterMode filter, const char* name, const std::string& less,
              std::vector<Contender>& contenders) {
  if (task.src.depth() != 8) return;
  contenders.push_back({name, less, "", [src = &task.src, dst = Like(task.dst), filter] {
                          Must(libyuv::ARGBScale(src->row<std::uint8_t>(0), src->row_bytes(), src->width(),
                                                 src->height(), dst->row<std::uint8_t>(0), dst->row_bytes(),
                                                 dst->width(), dst->height(), filter));
                        }});
}

void AddCrossFade(const Task& task, std::vector<Contender>& contenders) {
  constexpr const char* kLess = "weights of 8 bits";
  constexpr int kWeight = static_cast<int>(256 * kFadeRatio);
  const Picture *first = &task.src, *second = task.src.second.get();
  if (first->depth() == 8) {
    contenders.push_back({"libyuv ARGBInterpolate", kLess, "", [=, dst = Like(task.dst)] {
                            Must(libyuv::ARGBInterpolate(first->row<std::uint8_t>(0), first->row_bytes(),
                                                         second->row<std::uint8_t>(0), second->row_bytes(),
                                                         dst->row<std::uint8_t>(0), dst->row_bytes(), dst->width(),
                                                         dst->height(), kWeight));
                          }});
  } else if (first->depth() == 16) {
    contenders.push_back({"libyuv InterpolatePlane_16", kLess, "", [=, dst = Like(task.dst)] {
                            Must(libyuv::InterpolatePlane_16(first->row<std::uint16_t>(0), first->row_bytes() / 2,
                                                             second->row<std::uint16_t>(0), second->row_bytes() / 2,
                                                             dst->row<std::uint16_t>(0), dst->row_bytes() / 2,
                                                             4 * dst->width(), dst->height(), kWeight));
                          }});
  }
}

// The values of a mask, as so many pixels.
std::shared_ptr<Picture> AlphaOf(const Picture& picture) {
  auto mask = std::make_shared<Picture>(Size{picture.width() / 4, picture.height()}, 8);
  for (std::int32_t y = 0; y < mask->height(); ++y) {
    for (std::int32_t i = 0; i < 4 * mask->width(); ++i)
      mask->row<std::uint8_t>(y)[i] = picture.row<std::uint8_t>(y)[4 * i];
  }
  return mask;
}

void AddFade(const Task& task, std::vector<Contender>& contenders) {
  if (task.src.depth() != 8) return;
  const auto level = static_cast<std::uint32_t>(kBenchFade * 255.0f + 0.5f);
  contenders.push_back({"libyuv ARGBShade", "lossy: truncates", "four values as a pixel",
                        [mask = AlphaOf(task.src), value = level * 0x01010101u] {
                          auto* const values = mask->row<std::uint8_t>(0);
                          Must(libyuv::ARGBShade(values, mask->row_bytes(), values, mask->row_bytes(), mask->width(),
                                                 mask->height(), value));
                        }});
}

void AddMerge(const Task& task, std::vector<Contender>& contenders) {
  if (task.src.depth() != 8 || task.dst.depth() != 8) return;
  const auto mask = Like(task.src), world = Like(task.dst);
  mask->FillBytes(255);
  world->FillNoise(false);
  for (std::int32_t y = 0; y < mask->height(); ++y) {
    for (std::int32_t i = 0; i < 4 * mask->width(); i += 4)
      mask->row<std::uint8_t>(y)[i] = task.src.row<std::uint8_t>(y)[i];
  }
  contenders.push_back({"libyuv ARGBMultiply", "lossy: truncates", "four channels, the mask made so beforehand", [=] {
                          auto* const pixels = world->row<std::uint8_t>(0);
                          Must(libyuv::ARGBMultiply(pixels, world->row_bytes(), mask->row<std::uint8_t>(0),
                                                    mask->row_bytes(), pixels, world->row_bytes(), world->width(),
                                                    world->height()));
                        }});
}

void AddAlphaConvention(const Task& task, std::vector<Contender>& contenders) {
  if (task.src.depth() != 8) return;
  const auto src = AlphaLast(task.src, false), dst = Like(task.dst);
  const bool divides = task.work == Work::kToStraight;
  const auto call = divides ? &libyuv::ARGBUnattenuate : &libyuv::ARGBAttenuate;
  contenders.push_back({divides ? "libyuv ARGBUnattenuate" : "libyuv ARGBAttenuate",
                        divides ? "lossy: reciprocals of 16 bits" : "lossy: one off in places", "", [=] {
                          Must(call(src->row<std::uint8_t>(0), src->row_bytes(), dst->row<std::uint8_t>(0),
                                    dst->row_bytes(), src->width(), src->height()));
                        }});
}

std::string With(const std::string& less, const char* more) { return less.empty() ? more : less + "; " + more; }

// Multiplied by alpha, laid over and divided again, each step rounded or truncated to 8 bits.
void AddLaying(const Task& task, std::vector<Contender>& contenders) {
  const bool premultiplied = task.laying.mode == PF_Xfer_PremulOntoPremul;
  if (task.src.depth() != 8 || task.laying.linear || (task.laying.mode != PF_Xfer_Over && !premultiplied)) return;
  const Picture* src = &task.src;
  struct Pictures {
    std::shared_ptr<Picture> src, base, dst;
  };
  const Pictures p = {AlphaLast(task.src, false), AlphaLast(*task.src.second, false), Like(task.dst)};
  const auto above = Like(task.dst);
  contenders.push_back(
      {premultiplied ? "libyuv ARGBBlend" : "libyuv Attenuate, Blend, Unattenuate",
       premultiplied ? "lossy: truncates; alpha becomes full" : "lossy: 8 bits between the steps; alpha becomes full",
       "", [=] {
         ForBands(*p.base, *p.dst, [&](std::int32_t y, std::int32_t rows) {
           const std::int32_t width = src->width(), stride = src->row_bytes();
           auto* d = p.dst->row<std::uint8_t>(y);
           const std::uint8_t* s = p.src->row<std::uint8_t>(y);
           if (!premultiplied) {
             Must(libyuv::ARGBAttenuate(s, stride, above->row<std::uint8_t>(y), stride, width, rows));
             Must(libyuv::ARGBAttenuate(d, stride, d, stride, width, rows));
             s = above->row<std::uint8_t>(y);
           }
           Must(libyuv::ARGBBlend(s, stride, d, stride, d, stride, width, rows));
           if (!premultiplied) Must(libyuv::ARGBUnattenuate(d, stride, d, stride, width, rows));
         });
       }});
}

void AddLibyuv(const Task& task, std::vector<Contender>& contenders) {
  const std::string less = LessForAlikeChannels(task);
  switch (task.work) {
    case Work::kConvert:
      AddConversion(task, contenders);
      break;
    case Work::kReplicate:
      AddScale(task, libyuv::kFilterNone, "libyuv kFilterNone", "", contenders);
      break;
    case Work::kStraight:
    case Work::kPremultiplied:
      if (task.Enlarges()) {
        AddScale(task, libyuv::kFilterBilinear, "libyuv kFilterBilinear", With(less, "lossy: weights of 7 bits"),
                 contenders);
      } else {
        AddScale(task, libyuv::kFilterBox, "libyuv kFilterBox", With(less, "lossy: boxes of whole pixels"), contenders);
      }
      break;
    case Work::kToPremultiplied:
    case Work::kToStraight:
      AddAlphaConvention(task, contenders);
      break;
    case Work::kBlend:
      AddCrossFade(task, contenders);
      break;
    case Work::kMaskFade:
      AddFade(task, contenders);
      break;
    case Work::kMaskMerge:
      AddMerge(task, contenders);
      break;
    case Work::kTransfer:
      AddLaying(task, contenders);
      break;
    default:
      break;
  }
}

const PeerRegistration kRegistration({"libyuv", std::to_string(LIBYUV_VERSION), &AddLibyuv});

}  // namespace
}  // namespace pfbench

// OpenCV on one thread. Four channels alike, whichever of them is alpha.
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include "peers/Peers.h"

namespace pfbench {
namespace {

cv::Mat Wrap(const Picture& picture) {
  const int type = picture.depth() == 8 ? CV_8UC4 : picture.depth() == 16 ? CV_16UC4 : CV_32FC4;
  return {picture.height(), picture.width(), type, picture.row(0), static_cast<std::size_t>(picture.row_bytes())};
}

void AddConversion(const Task& task, std::vector<Contender>& contenders) {
  const double scale = FullValue(task.dst.depth()) / FullValue(task.src.depth());
  const cv::Mat src = Wrap(task.src);
  cv::Mat dst(src.size(), Wrap(task.dst).type());
  contenders.push_back({"OpenCV convertTo", "", "halves to even; alpha limited instead of wrapped",
                        [=]() mutable { src.convertTo(dst, dst.type(), scale); }});
}

void AddResize(const Task& task, cv::InterpolationFlags filter, const char* name, const std::string& less,
               const char* remark, std::vector<Contender>& contenders) {
  const cv::Mat src = Wrap(task.src);
  cv::Mat dst(task.dst.height(), task.dst.width(), src.type());
  contenders.push_back({name, less, remark, [=]() mutable { cv::resize(src, dst, dst.size(), 0, 0, filter); }});
}

void AddCrossFade(const Task& task, std::vector<Contender>& contenders) {
  const cv::Mat first = Wrap(task.src), second = Wrap(*task.src.second);
  cv::Mat dst(first.size(), first.type());
  contenders.push_back({"OpenCV addWeighted", "", "in single precision; floats without steps of 2^-16",
                        [=]() mutable { cv::addWeighted(first, 1 - kFadeRatio, second, kFadeRatio, 0, dst); }});
}

// Of 8-bit pixels with alpha last, the only ones that OpenCV does.
void AddAlphaConvention(const Task& task, std::vector<Contender>& contenders) {
  if (task.src.depth() != 8) return;
  const bool divides = task.work == Work::kToStraight;
  const auto pixels = AlphaLast(task.src, false);
  contenders.push_back({divides ? "OpenCV COLOR_mRGBA2RGBA" : "OpenCV COLOR_RGBA2mRGBA", "", "",
                        [pixels, divides, dst = Wrap(*pixels).clone()]() mutable {
                          cv::cvtColor(Wrap(*pixels), dst, divides ? cv::COLOR_mRGBA2RGBA : cv::COLOR_RGBA2mRGBA);
                        }});
}

// Values of a mask as a matrix of their own.
cv::Mat AlphaOf(const Picture& picture) {
  cv::Mat alpha;
  cv::extractChannel(Wrap(picture), alpha, 0);
  return alpha;
}

void AddInvert(const Task& task, std::vector<Contender>& contenders) {
  const cv::Mat mask = AlphaOf(task.src);
  if (mask.depth() == CV_8U) {
    contenders.push_back({"OpenCV bitwise_not", "", "", [=] { cv::bitwise_not(mask, mask); }});
    return;
  }
  const double full = FullValue(task.src.depth());
  contenders.push_back({"OpenCV subtract", "", "limited instead of wrapped", [=] { cv::subtract(full, mask, mask); }});
}

void AddFade(const Task& task, std::vector<Contender>& contenders) {
  const cv::Mat mask = AlphaOf(task.src);
  contenders.push_back(
      {"OpenCV convertTo", "", "halves to even", [=] { mask.convertTo(mask, -1, double{kBenchFade}); }});
}

void AddMerge(const Task& task, std::vector<Contender>& contenders) {
  const cv::Mat mask = AlphaOf(task.src);
  const cv::Mat world = Wrap(task.dst).clone();
  const double unit = 1.0 / FullValue(task.src.depth());
  contenders.push_back({"OpenCV multiply", "", "takes alpha out, multiplies it and puts it back; halves to even",
                        [=, alpha = cv::Mat()]() mutable {
                          cv::extractChannel(world, alpha, 0);
                          cv::multiply(alpha, mask, alpha, unit, alpha.depth());
                          cv::insertChannel(alpha, world, 0);
                        }});
}

cv::Size Along(const Scan& scan) {
  const int n = 2 * scan.radius + 1;
  return scan.columns ? cv::Size(1, n) : cv::Size(n, 1);
}

void AddBox(const Task& task, std::vector<Contender>& contenders) {
  const cv::Mat mask = AlphaOf(task.src);
  contenders.push_back(
      {"OpenCV boxFilter", "", "halves to even", [=, size = Along(task.scan), dst = cv::Mat()]() mutable {
         cv::boxFilter(mask, dst, -1, size, cv::Point(-1, -1), true, cv::BORDER_CONSTANT);
       }});
}

// The width of the curve is of no account for the time.
void AddBell(const Task& task, std::vector<Contender>& contenders) {
  const cv::Mat mask = AlphaOf(task.src);
  contenders.push_back({"OpenCV GaussianBlur", "8 bits: weights of 8 bits", "16 bits: weights of 16 bits",
                        [=, size = Along(task.scan), dst = cv::Mat()]() mutable {
                          cv::GaussianBlur(mask, dst, size, 2, 2, cv::BORDER_CONSTANT);
                        }});
}

// Nothing of OpenCV does the whole at once: s + d, limited, is what comes nearest.
void AddSum(const Task& task, std::vector<Contender>& contenders) {
  const cv::Mat mask = AlphaOf(task.src);
  contenders.push_back({"OpenCV add", "without the product", "", [=, dst = mask.clone()] { cv::add(mask, dst, dst); }});
}

// Sums every weight, so it takes seconds where the radius is large.
void AddGaussianBlur(const Task& task, std::vector<Contender>& contenders) {
  const int radius = task.scan.radius;
  if (radius > (task.src.depth() == 16 ? 50 : 200)) return;
  const char* less = task.work == Work::kBlurStraight ? kNoAlphaWeights
                     : task.src.depth() == 8          ? "8 bits: weights of 8 bits"
                                                      : "";
  const double sigma = (radius + 1) / 2.18;
  contenders.push_back({"OpenCV GaussianBlur", less,
                        "16 bits: weights of 16 bits; the textbook curve, cut at the radius",
                        [=, src = Wrap(task.src), size = 2 * radius + 1, dst = cv::Mat()]() mutable {
                          cv::GaussianBlur(src, dst, {size, size}, sigma, sigma, cv::BORDER_REPLICATE);
                        }});
}

// Also three in a row for a bell of about the same width.
void AddBoxBlur(const Task& task, int times, std::vector<Contender>& contenders) {
  const int size = 2 * ((task.scan.radius + times / 2) / times) + 1;
  const char* less = task.work == Work::kBlurStraight ? "three boxes instead of a bell; does not weight colour by alpha"
                     : times > 1                      ? "three boxes instead of a bell"
                                                      : "";
  contenders.push_back({times > 1 ? "OpenCV blur, three times" : "OpenCV blur", less, "halves to even",
                        [=, src = Wrap(task.src), dst = cv::Mat()]() mutable {
                          cv::blur(src, dst, {size, size}, {-1, -1}, cv::BORDER_REPLICATE);
                          for (int i = 1; i < times; ++i) {
                            cv::blur(dst, dst, {size, size}, {-1, -1}, cv::BORDER_REPLICATE);
                          }
                        }});
}

void AddOpenCV(const Task& task, std::vector<Contender>& contenders) {
  cv::setNumThreads(1);
  const std::string less = LessForAlikeChannels(task);
  switch (task.work) {
    case Work::kConvert:
      AddConversion(task, contenders);
      break;
    case Work::kReplicate:
      AddResize(task, cv::INTER_NEAREST, "OpenCV INTER_NEAREST", "", "", contenders);
      break;
    case Work::kStraight:
    case Work::kPremultiplied:
      if (task.Enlarges()) {
        AddResize(task, cv::INTER_LINEAR, "OpenCV INTER_LINEAR", less, "8 bits: weights of 11 bits", contenders);
      } else {
        AddResize(task, cv::INTER_AREA, "OpenCV INTER_AREA", less, "", contenders);
      }
      break;
    case Work::kToPremultiplied:
    case Work::kToStraight:
      AddAlphaConvention(task, contenders);
      break;
    case Work::kBlend:
      AddCrossFade(task, contenders);
      break;
    case Work::kMaskInvert:
      AddInvert(task, contenders);
      break;
    case Work::kMaskFade:
      AddFade(task, contenders);
      break;
    case Work::kMaskMerge:
      AddMerge(task, contenders);
      break;
    case Work::kMaskBox:
      AddBox(task, contenders);
      break;
    case Work::kMaskBell:
      AddBell(task, contenders);
      break;
    case Work::kMaskAdd:
      AddSum(task, contenders);
      break;
    case Work::kBlurBox:
      AddBoxBlur(task, 1, contenders);
      break;
    case Work::kBlurBell:
    case Work::kBlurStraight:
      AddGaussianBlur(task, contenders);
      AddBoxBlur(task, 3, contenders);
      break;
    default:
      break;
  }
}

const PeerRegistration kRegistration({"OpenCV", cv::getVersionString(), &AddOpenCV});

}  // namespace
}  // namespace pfbench

// OpenCV's dense inverse search on one thread, in both directions, and the picture that can be made of it with plain
// means: each frame moved by half along each of the two motions, and the mean of the four.
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/video/tracking.hpp>

#include "peers/FramePeers.h"

namespace pfbench {
namespace {

constexpr int kRounds = 3;

cv::Mat Colours(const Image& image) {
  const cv::Mat floats(image.size.height, image.size.width, CV_32FC3, const_cast<float*>(image.rgb.data()));
  if (image.light) return floats.clone();
  cv::Mat bytes;
  floats.convertTo(bytes, CV_8U);
  return bytes;
}

cv::Mat Greys(const Image& image) {
  cv::Mat grey;
  cv::cvtColor(Colours(AsSeen(image)), grey, cv::COLOR_RGB2GRAY);
  return grey;
}

// Values of `from` at x + share * motion(x), bilinear, limited to the edge pixels.
cv::Mat Fetched(const cv::Mat& from, const cv::Mat& motion, float share) {
  cv::Mat places(motion.size(), CV_32FC2), fetched;
  for (int y = 0; y < places.rows; ++y) {
    const auto* in = motion.ptr<cv::Vec2f>(y);
    auto* out = places.ptr<cv::Vec2f>(y);
    for (int x = 0; x < places.cols; ++x) {
      out[x] = {static_cast<float>(x) + share * in[x][0], static_cast<float>(y) + share * in[x][1]};
    }
  }
  cv::remap(from, fetched, places, cv::noArray(), cv::INTER_LINEAR, cv::BORDER_REPLICATE);
  return fetched;
}

// The motion of what is at x half way: that of the pixel p with p + motion(p) / 2 = x, found by iteration.
cv::Mat HalfWay(const cv::Mat& motion) {
  cv::Mat half = motion;
  for (int i = 0; i < kRounds; ++i) half = Fetched(motion, half, -0.5f);
  return half;
}

class Search : public FrameMaker {
 public:
  Search(const Triplet& triplet, bool full_size)
      : colours_{Colours(triplet.previous), Colours(triplet.next)},
        greys_{Greys(triplet.previous), Greys(triplet.next)},
        search_(cv::DISOpticalFlow::create(cv::DISOpticalFlow::PRESET_MEDIUM)) {
    cv::setNumThreads(1);
    if (full_size) search_->setFinestScale(0);
  }

  // A search starts from what its output holds, so that is made anew.
  void Estimate() override {
    for (int i = 0; i < 2; ++i) {
      motion_[i].release();
      search_->calc(greys_[i], greys_[1 - i], motion_[i]);
    }
  }

  void Make() override {
    const cv::Mat there = HalfWay(motion_[0]), back = HalfWay(motion_[1]);
    cv::Mat first, second;
    cv::addWeighted(Fetched(colours_[0], there, -0.5f), 0.5, Fetched(colours_[1], there, 0.5f), 0.5, 0, first, CV_32F);
    cv::addWeighted(Fetched(colours_[0], back, 0.5f), 0.5, Fetched(colours_[1], back, -0.5f), 0.5, 0, second, CV_32F);
    cv::addWeighted(first, 0.5, second, 0.5, 0, result_, colours_[0].depth());
  }

  Image Result() const override {
    Image image({result_.cols, result_.rows}, result_.depth() == CV_32F);
    result_.convertTo(cv::Mat(result_.rows, result_.cols, CV_32FC3, image.rgb.data()), CV_32F);
    return image;
  }

  Vector Motion(std::int32_t x, std::int32_t y) const override {
    const auto vector = motion_[0].at<cv::Vec2f>(y, x);
    return {vector[0], vector[1]};
  }

 private:
  cv::Mat colours_[2], greys_[2], motion_[2], result_;
  cv::Ptr<cv::DISOpticalFlow> search_;
};

std::string Version() { return cv::getVersionString(); }

const FramePeerRegistration kMedium({"DIS medium",
                                     "OpenCV DISOpticalFlow, PRESET_MEDIUM, there and back; both frames moved half "
                                     "along both motions, bilinear, and the mean of the four",
                                     true, true, &Version,
                                     [](const Triplet& triplet) { return std::make_unique<Search>(triplet, false); }});
const FramePeerRegistration kFull({"DIS full size", "the same with setFinestScale(0)", false, true, &Version,
                                   [](const Triplet& triplet) { return std::make_unique<Search>(triplet, true); }});

}  // namespace
}  // namespace pfbench

// Qt's QImage::scaled and QPainter. Straight formats are multiplied, scaled and divided again by Qt within the call;
// premultiplied ones are scaled as they are. Every call allocates its result. Large images are divided among the
// threads of the global pool, which here has one.
#include <QImage>
#include <QPainter>
#include <QThreadPool>
#include <memory>
#include <stdexcept>

#include "Bands.h"
#include "PF/PF_TransferModes.h"
#include "peers/Peers.h"

namespace pfbench {
namespace {

constexpr const char* kRemark = "16 bits: full value 65535; allocates its result";

struct Format {
  const char* name;
  QImage::Format of8, of16;
};
constexpr Format kStraight = {"Qt straight", QImage::Format_ARGB32, QImage::Format_RGBA64};
constexpr Format kPremultiplied = {"Qt premultiplied", QImage::Format_ARGB32_Premultiplied,
                                   QImage::Format_RGBA64_Premultiplied};
constexpr Format kOpaque = {"Qt without alpha", QImage::Format_RGB32, QImage::Format_RGBX64};

void AddScaled(const Task& task, const Format& format, Qt::TransformationMode mode, const std::string& less,
               std::vector<Contender>& contenders) {
  const bool is_8_bit = task.src.depth() == 8;
  const std::shared_ptr<Picture> pixels = AlphaLast(task.src, true);
  const QImage straight(pixels->row<uchar>(0), pixels->width(), pixels->height(), pixels->row_bytes(),
                        is_8_bit ? kStraight.of8 : kStraight.of16);
  const QImage src = straight.convertToFormat(is_8_bit ? format.of8 : format.of16).copy();
  const QSize size(task.dst.width(), task.dst.height());
  const char* suffix = mode == Qt::SmoothTransformation ? ", smooth" : ", fast";
  contenders.push_back({std::string(format.name) + suffix, less, kRemark, [=] {
                          const QImage result = src.scaled(size, Qt::IgnoreAspectRatio, mode);
                          if (result.size() != size) throw std::runtime_error("Qt did not scale");
                        }});
}

// The second picture is drawn into the first, which changes: a call reads and writes no more than that.
void AddCrossFade(const Task& task, std::vector<Contender>& contenders) {
  const QImage::Format format = task.src.depth() == 8 ? kPremultiplied.of8 : kPremultiplied.of16;
  const auto image = [&](const std::shared_ptr<Picture>& p) {
    return QImage(p->row<uchar>(0), p->width(), p->height(), p->row_bytes(), format).copy();
  };
  const QImage first = image(AlphaLast(task.src, true)), second = image(AlphaLast(*task.src.second, true));
  contenders.push_back({"Qt QPainter, mode Source", "weights of 8 bits; into the first source", "",
                        [=, dst = std::make_shared<QImage>(first)] {
                          QPainter painter(dst.get());
                          painter.setCompositionMode(QPainter::CompositionMode_Source);
                          painter.setOpacity(kFadeRatio);
                          painter.drawImage(0, 0, second);
                        }});
}

void AddAlphaConvention(const Task& task, std::vector<Contender>& contenders) {
  const bool divides = task.work == Work::kToStraight, is_8_bit = task.src.depth() == 8;
  const Format& from = divides ? kPremultiplied : kStraight;
  const Format& to = divides ? kStraight : kPremultiplied;
  const std::shared_ptr<Picture> pixels = AlphaLast(task.src, true);
  const QImage src = QImage(pixels->row<uchar>(0), pixels->width(), pixels->height(), pixels->row_bytes(),
                            is_8_bit ? from.of8 : from.of16)
                         .copy();
  contenders.push_back({std::string(from.name) + " to " + (divides ? "straight" : "premultiplied"), "", kRemark,
                        [src, format = is_8_bit ? to.of8 : to.of16] {
                          if (src.convertToFormat(format).isNull()) throw std::runtime_error("Qt made no image");
                        }});
}

QPainter::CompositionMode ModeOf(std::int32_t mode) {
  switch (mode) {
    case PF_Xfer_Multiply:
      return QPainter::CompositionMode_Multiply;
    case PF_Xfer_Screen:
      return QPainter::CompositionMode_Screen;
    case PF_Xfer_HardLight:
      return QPainter::CompositionMode_HardLight;
    default:
      return QPainter::CompositionMode_SourceOver;
  }
}

void AddLaying(const Task& task, std::vector<Contender>& contenders) {
  const std::int32_t mode = task.laying.mode;
  const bool premultiplied = mode == PF_Xfer_PremulOntoPremul;
  const bool known = premultiplied || mode == PF_Xfer_Over || mode == PF_Xfer_Multiply || mode == PF_Xfer_Screen ||
                     mode == PF_Xfer_HardLight;
  if (!known || task.laying.linear) return;
  const Format& format = premultiplied ? kPremultiplied : kStraight;
  const QImage::Format of = task.src.depth() == 8 ? format.of8 : format.of16;
  struct Pictures {
    std::shared_ptr<Picture> src, base, dst;
  };
  const Pictures p = {AlphaLast(task.src, true), AlphaLast(*task.src.second, true),
                      std::make_shared<Picture>(task.dst.size(), task.dst.depth())};
  contenders.push_back(
      {std::string("Qt drawImage") + (premultiplied ? ", premultiplied" : ""), "", "16 bits: full value 65535", [=] {
         ForBands(*p.base, *p.dst, [&](std::int32_t y, std::int32_t rows) {
           const QImage src(p.src->row<uchar>(y), p.src->width(), rows, p.src->row_bytes(), of);
           QImage dst(p.dst->row<uchar>(y), p.dst->width(), rows, p.dst->row_bytes(), of);
           QPainter painter(&dst);
           painter.setCompositionMode(ModeOf(mode));
           painter.drawImage(0, 0, src);
         });
       }});
}

void AddQt(const Task& task, std::vector<Contender>& contenders) {
  if (task.src.depth() == 32) return;
  QThreadPool::globalInstance()->setMaxThreadCount(1);
  switch (task.work) {
    case Work::kReplicate:
      AddScaled(task, kPremultiplied, Qt::FastTransformation, "", contenders);
      break;
    case Work::kPremultiplied:
      AddScaled(task, kPremultiplied, Qt::SmoothTransformation, "", contenders);
      break;
    case Work::kStraight:
      AddScaled(task, kStraight, Qt::SmoothTransformation, "", contenders);
      if (task.opaque) {
        AddScaled(task, kOpaque, Qt::SmoothTransformation, "", contenders);
      } else {
        AddScaled(task, kPremultiplied, Qt::SmoothTransformation, "is given premultiplied pixels", contenders);
      }
      break;
    case Work::kToPremultiplied:
    case Work::kToStraight:
      AddAlphaConvention(task, contenders);
      break;
    case Work::kBlend:
      AddCrossFade(task, contenders);
      break;
    case Work::kTransfer:
      AddLaying(task, contenders);
      break;
    default:
      break;
  }
}

const PeerRegistration kRegistration({"Qt", qVersion(), &AddQt});

}  // namespace
}  // namespace pfbench

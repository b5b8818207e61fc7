#include "cor/Lcms.h"

#include <lcms2_plugin.h>

#include <algorithm>
#include <cstring>

namespace pfhost {
namespace {

cmsUInt16Number To65535(std::uint16_t v) {
  const std::uint32_t limited = std::min<std::uint32_t>(v, 32768);
  return static_cast<cmsUInt16Number>((limited * 65535 + 16384) >> 15);
}

std::uint16_t To32768(cmsUInt16Number w) {
  return static_cast<std::uint16_t>((std::uint32_t{w} * 32768 + 32767) / 65535);
}

cmsUInt8Number* Unpack(_cmstransform_struct*, cmsUInt16Number values[], cmsUInt8Number* buffer, cmsUInt32Number) {
  std::uint16_t pixel[4];
  std::memcpy(pixel, buffer, sizeof pixel);
  for (int i = 0; i < 3; ++i) values[i] = To65535(pixel[i + 1]);
  return buffer + sizeof pixel;
}

cmsUInt8Number* Pack(_cmstransform_struct*, cmsUInt16Number values[], cmsUInt8Number* buffer, cmsUInt32Number) {
  std::uint16_t colour[3];
  for (int i = 0; i < 3; ++i) colour[i] = To32768(values[i]);
  std::memcpy(buffer + 2, colour, sizeof colour);
  return buffer + 8;
}

cmsFormatter Formatter(cmsUInt32Number type, cmsFormatterDirection direction, cmsUInt32Number flags) {
  cmsFormatter formatter = {};
  if (type == kFormat16 && (flags & CMS_PACK_FLAGS_FLOAT) == 0) {
    formatter.Fmt16 = direction == cmsFormatterInput ? &Unpack : &Pack;
  }
  return formatter;
}

cmsContext NewContext() {
  static cmsPluginFormatters formatters = {{cmsPluginMagicNumber, LCMS_VERSION, cmsPluginFormattersSig, nullptr},
                                           &Formatter};
  cmsContext context = cmsCreateContext(&formatters, nullptr);
  if (context == nullptr) throw std::bad_alloc();
  return context;
}

struct DeleteContext {
  void operator()(cmsContext context) const { cmsDeleteContext(context); }
};

}  // namespace

cmsContext TheLcms() {
  static const std::unique_ptr<std::remove_pointer_t<cmsContext>, DeleteContext> context(NewContext());
  return context.get();
}

std::mutex& LcmsLock() {
  static std::mutex mutex;
  return mutex;
}

}  // namespace pfhost

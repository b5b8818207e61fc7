// After: dark borders around what is transparent, light that is cut off at full or rings, samples that are no numbers
// and spread.
#include <cmath>
#include <limits>
#include <string>

#include "Support.h"

namespace {

using pftest::BlendingAt;
using pftest::Colour;
using pftest::DistanceOf;
using pftest::Frame;
using pftest::Texture;
using pftest::VectorsOf;
using pftest::WireAt;

class MovingSprites : public pftest::LibraryTest {};

void RenderMiddle(const Frame& a, const Frame& b, Frame& out, std::int16_t variant, std::int16_t steps = 1) {
  PF_AdvancedFrameBlending blending = BlendingAt(0.5f);
  blending.algoParams.variant = variant;
  blending.algoParams.steps = steps;
  ASSERT_EQ(blending.Render(a.world(), b.world(), out.world()), 0);
}

// What is transparent is black.
TEST_F(MovingSprites, KeepTheirColourUpToTheirSoftBorder) {
  const auto disc = [](Frame& frame, double centre) {
    frame.Paint([&](int x, int y) {
      const double alpha = std::fmin(std::fmax(14.5 - std::hypot(x - centre, y - 30), 0), 1);
      return alpha > 0 ? Colour{alpha, 0.8, 0.6, 0.9} : Colour{0, 0, 0, 0};
    });
  };
  for (const std::int32_t depth : {8, 16, 32}) {
    for (const int way : {8, 9}) {
      Frame a(depth, 80, 60), b(depth, 80, 60), out(depth, 80, 60);
      disc(a, 30);
      disc(b, 30 + way);
      for (std::int16_t variant = 0; variant < 4; ++variant) {
        RenderMiddle(a, b, out, variant, way == 8 ? 1 : 5);
        double area = 0, area_before = 0;
        for (int y = 0; y < 60; ++y) {
          for (int x = 0; x < 80; ++x) {
            const Colour c = out.Get(x, y);
            area += c[0];
            area_before += a.Get(x, y)[0];
            ASSERT_TRUE(c[0] >= 0 && c[0] <= 1) << x << ", " << y;
            if (c[0] == 0) {
              ASSERT_TRUE(c[1] == 0 && c[2] == 0 && c[3] == 0) << x << ", " << y;
              continue;
            }
            ASSERT_NEAR(c[1], 0.8, 0.02) << "depth " << depth << ", variant " << variant << " at " << x << ", " << y;
            ASSERT_NEAR(c[2], 0.6, 0.02) << "depth " << depth << ", variant " << variant << " at " << x << ", " << y;
            ASSERT_NEAR(c[3], 0.9, 0.02) << "depth " << depth << ", variant " << variant << " at " << x << ", " << y;
          }
        }
        EXPECT_NEAR(area, area_before, 0.02 * area_before) << "nothing is lost on the way";
      }
    }
  }
}

TEST_F(MovingSprites, LightFarAboveFullArrivesWhole) {
  const auto spot = [](Frame& frame, double centre) {
    frame.Paint([&](int x, int y) {
      Colour c = Texture(x, y);
      const double light = 50 * std::exp(-std::pow(x - centre, 2) / 50 - std::pow(y - 30, 2) / 50);
      for (std::size_t i = 1; i < 4; ++i) c[i] = c[i] / 2 + light;
      return c;
    });
  };
  Frame a(32, 80, 60), b(32, 80, 60), out(32, 80, 60), middle(32, 80, 60);
  spot(a, 28);
  spot(b, 36);
  spot(middle, 32);
  for (std::int16_t variant = 0; variant < 4; ++variant) {
    RenderMiddle(a, b, out, variant);
    double least = 50, most = 0;
    for (int y = 0; y < 60; ++y) {
      for (int x = 0; x < 80; ++x) {
        least = std::fmin(least, out.Get(x, y)[1]);
        most = std::fmax(most, out.Get(x, y)[1]);
      }
    }
    EXPECT_NEAR(most, middle.Get(32, 30)[1], 0.5) << variant;
    EXPECT_GE(least, 0) << variant;
    EXPECT_LE(DistanceOf(out, middle).largest, 1.5) << variant;
  }
}

// A hard edge of light rings under the cubic, unless it is held to the pixels around.
TEST_F(MovingSprites, LightDoesNotRing) {
  Frame a(32, 80, 60), b(32, 80, 60), out(32, 80, 60);
  const auto paint = [](Frame& frame, int left) {
    frame.Paint([&](int x, int y) {
      const double light =
          std::abs(x - left - 12) < 12 && std::abs(y - 30) < 12 ? 50 + 0.1 * ((x - left + y) % 5) : 0.2;
      return Colour{1, light, light, light};
    });
  };
  paint(a, 20);
  paint(b, 27);
  RenderMiddle(a, b, out, 0);
  for (int y = 0; y < 60; ++y) {
    for (int x = 0; x < 80; ++x) {
      ASSERT_GE(out.Get(x, y)[1], 0.1999) << x << ", " << y;
      ASSERT_LE(out.Get(x, y)[1], 50.4001) << x << ", " << y;
    }
  }
}

// Alphas that have no inverse, that are above full, and whose quotient with colour explodes.
TEST_F(MovingSprites, OddAlphasLeaveColoursInTheirRange) {
  for (const double alpha : {1e-40, 1.5, 0.004}) {
    Frame a(32, 80, 60), b(32, 80, 60), out(32, 80, 60);
    const auto paint = [&](Frame& frame, int way) {
      frame.Paint([&](int x, int y) {
        const Colour c = Texture(x - way, y);
        return Colour{(x + y) % 3 == 0 ? alpha : 0.5, 0.1 + 0.8 * c[1], 0.9 - 0.5 * c[2], c[3]};
      });
    };
    paint(a, 0);
    paint(b, 3);
    double largest = 0;
    for (int y = 0; y < 60; ++y) {
      for (int x = 0; x < 80; ++x) {
        for (std::size_t i = 1; i < 4; ++i) largest = std::fmax(largest, std::fmax(a.Get(x, y)[i], b.Get(x, y)[i]));
      }
    }
    RenderMiddle(a, b, out, 0);
    for (int y = 0; y < 60; ++y) {
      for (int x = 0; x < 80; ++x) {
        const Colour c = out.Get(x, y);
        ASSERT_TRUE(c[0] >= 0 && c[0] <= 1) << alpha << ": " << x << ", " << y;
        for (std::size_t i = 1; i < 4; ++i) ASSERT_TRUE(c[i] >= 0 && c[i] <= largest) << alpha << ": " << c[i];
      }
    }
  }
}

// Ten times the light at one place is no motion at another.
TEST_F(MovingSprites, AFlareDoesNotMoveWhatIsAroundIt) {
  Frame a(32, 80, 60), b(32, 80, 60);
  const auto paint = [](Frame& frame, double way, double light) {
    frame.Paint([&](int x, int y) {
      Colour c = Texture(x - way, y);
      if (std::hypot(x - way - 36, y - 30) < 6) c[1] = c[2] = c[3] = light + c[1];
      return c;
    });
  };
  paint(a, 0, 20);
  paint(b, 4, 200);
  EXPECT_LE(pftest::MissOf(*VectorsOf(a, b), 4, 0), 0.1);
}

// No patch follows it: it is neither left out nor shown twice.
TEST_F(MovingSprites, AWireIsShownOnceAndHalfWay) {
  Frame a(8, 240, 160), b(8, 240, 160), out(8, 240, 160);
  a.Paint([](int x, int y) { return WireAt(x, y, 0, 110, 40, 120); });
  b.Paint([](int x, int y) { return WireAt(x, y, 1, 110, 40, 120); });
  for (std::int16_t variant = 0; variant < 4; ++variant) {
    RenderMiddle(a, b, out, variant);
    const auto brightness = [&](int x) {
      double sum = 0;
      for (int y = 50; y < 110; ++y) sum += out.Get(x, y)[1];
      return sum / 60;
    };
    EXPECT_GE(brightness(110), 0.28) << "what was behind it, variant " << variant;
    EXPECT_LE(brightness(120), 0.15) << "variant " << variant;
    EXPECT_GE(brightness(130), 0.28) << "what will be behind it, variant " << variant;
  }
}

// Of many widths, slopes and backgrounds, none is left out or shown twice.
TEST_F(MovingSprites, WiresOfAllKindsAreFollowed) {
  for (const double contrast : {0.2, 0.6}) {
    for (const double slope : {0.0, 0.3}) {
      for (const double width : {1.5, 3.0}) {
        const auto behind = [&](double x, double y) { return 0.55 + contrast * (Texture(x, y)[1] - 0.5); };
        const auto wire = [&](double t) {
          return [&, t](int x, int y) {
            const double off = std::abs(x - 120 - 12 * t - slope * (y - 80)) / std::hypot(1, slope);
            const double cover = std::fmin(std::fmax(width / 2 + 0.5 - off, 0), 1),
                         light = behind(x + 4 * t, y) * (1 - cover);
            return Colour{1, light, light, light};
          };
        };
        Frame a(8, 240, 160), b(8, 240, 160), out(8, 240, 160), middle(8, 240, 160);
        a.Paint(wire(0));
        b.Paint(wire(1));
        middle.Paint(wire(0.5));
        RenderMiddle(a, b, out, 0);
        double drawn = 0, wanted = 0;
        for (int y = 40; y < 120; ++y) {
          for (int x = 60; x < 180; ++x) {
            const double missing = behind(x + 2, y) - middle.Get(x, y)[1];
            if (missing < 0.2) continue;
            wanted += missing;
            drawn += behind(x + 2, y) - out.Get(x, y)[1];
          }
        }
        EXPECT_GE(drawn, 0.6 * wanted) << contrast << ", " << slope << ", " << width;
      }
    }
  }
}

// They move with the picture; what cannot be seen behind them does not darken what is beside them.
TEST_F(MovingSprites, SamplesThatAreNoNumbersStayAlone) {
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN(), kInfinity = std::numeric_limits<float>::infinity();
  for (const int way : {0, 8, 5}) {  // and half a pixel off
    Frame a(32, 80, 60), b(32, 80, 60), out(32, 80, 60), clean(32, 80, 60);
    a.Paint([](int x, int y) { return Texture(x, y); });
    b.Paint([&](int x, int y) { return Texture(x - way, y + 0.01); });
    for (std::int16_t variant = 0; variant < 4; ++variant) {
      RenderMiddle(a, b, clean, variant);
      Frame broken(32, 80, 60);
      broken.Paint([](int x, int y) { return Texture(x, y); });
      broken.At<PF_PixelFloat>(20, 30).red = kNaN;
      broken.At<PF_PixelFloat>(40, 20).green = kInfinity;
      broken.At<PF_PixelFloat>(50, 40).alpha = -kInfinity;
      RenderMiddle(broken, b, out, variant);
      const int part = (way + 1) / 2;
      EXPECT_TRUE(std::isnan(out.At<PF_PixelFloat>(20 + part, 30).red)) << way;
      EXPECT_EQ(out.At<PF_PixelFloat>(40 + part, 20).green, kInfinity) << way;
      EXPECT_EQ(out.At<PF_PixelFloat>(50 + part, 40).alpha, -kInfinity) << way;
      int broken_samples = 0, touched = 0;
      for (int y = 0; y < 60; ++y) {
        for (int x = 0; x < 80; ++x) {
          const Colour c = out.Get(x, y), before = clean.Get(x, y);
          double change = 0;
          for (std::size_t i = 0; i < 4; ++i) {
            broken_samples += !std::isfinite(c[i]);
            change = std::fmax(change, std::abs(c[i] - before[i]));
          }
          touched += !(change <= 0.03);
        }
      }
      EXPECT_EQ(broken_samples, 3) << "by " << way << ", variant " << variant;
      EXPECT_LE(touched, 6) << "by " << way << ", variant " << variant;
    }
  }
}

}  // namespace

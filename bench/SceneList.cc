// The scenes: each is hard in a way of its own.
#include <algorithm>
#include <cmath>

#include "Scenes.h"

namespace pfbench {
namespace {

constexpr Course kStill = {0, 0, 0, 0};

float Everywhere(float, float) { return 1; }

// An ellipse: `radius` across, `radius / tallness` down.
Outline Disc(float radius, float tallness = 1) {
  return [=](float x, float y) { return std::clamp(radius - std::hypot(x, y * tallness) + 0.5f, 0.0f, 1.0f); };
}

// A disc with lobes, which shows that it turns.
Outline Petals(float radius, float lobes) {
  return [=](float x, float y) {
    const float edge = radius * (1 + 0.25f * std::cos(lobes * std::atan2(y, x)));
    return std::clamp(edge - std::hypot(x, y) + 0.5f, 0.0f, 1.0f);
  };
}

// A line down the layer that swings from side to side.
Outline Wire(float half_width) {
  return [=](float x, float y) {
    return std::clamp(2 * (half_width + 0.25f - std::abs(x + 6 * std::sin(y * 0.02f))), 0.0f, 1.0f);
  };
}

// All below a wavy line through the middle.
float Hills(float x, float y) {
  return std::clamp(y + 22 * std::sin(x * 0.017f) + 9 * std::sin(x * 0.061f), 0.0f, 1.0f);
}

std::shared_ptr<const Image> Photo(const std::string& photos, const char* file) {
  return std::make_shared<const Image>(ReadImage(photos + "/" + file));
}
std::shared_ptr<const Image> HalfPhoto(const std::string& photos, const char* file) {
  return std::make_shared<const Image>(Halved(ReadImage(photos + "/" + file)));
}

std::shared_ptr<const Image> Plain(float red, float green, float blue, bool light) {
  Image image({1, 1}, light);
  image.rgb = {red, green, blue};
  return std::make_shared<const Image>(std::move(image));
}

Scene ThinWires(const std::string& name, const std::string& photos) {
  const auto dark = Plain(20, 25, 30, false);
  Scene scene(name, {720, 480}, kStill);
  scene.Add({HalfPhoto(photos, "flower_2268.jpg"), Everywhere, {380, 250, 7, 3, 0, 0.01, 0, 0.01}});
  scene.Add({dark, Wire(1.0f), {200, 240, 26, 2, 0.2, 0.03}});
  scene.Add({dark, Wire(0.6f), {520, 240, -15, 4, -0.5}});
  return scene;
}

Scene LargeMotion(const std::string& name, const std::string& photos) {
  Scene scene(name, {800, 480}, kStill);
  scene.Add({Photo(photos, "astronaut.png"), Everywhere, {420, 220, -18, 6, 0, 0, std::log(1.7), 0.02}});
  scene.Add({Photo(photos, "chelsea.png"), Petals(115, 5), {250, 250, 76, 10, -0.05, 0.12}});
  scene.Add({Photo(photos, "snail.png"), Disc(70), {640, 150, -30, 56, 0, -0.1, std::log(0.9), 0.05}});
  return scene;
}

Scene GrainAndZoom(const std::string& name, const std::string& photos) {
  Scene scene(name, {640, 480}, kStill);
  scene.Add({Photo(photos, "chelsea.png"), Everywhere, {320, 240, 8, -5, 0.1, 0.02, std::log(2.0), 0.05}});
  scene.Add({Photo(photos, "portrait_alpha.png"), Disc(120, 1.2f), {250, 260, 22, -9, 0, 0.06, 0, 0.04}});
  scene.Add({HalfPhoto(photos, "astronaut.png"), Disc(36, 0.6f), {500, 200, -25, 14, 0.3, 0.1}});
  scene.AddGrain(5);
  return scene;
}

Scene CameraTurn(const std::string& name, const std::string& photos) {
  Scene scene(name, {640, 480}, {0, 0, 5, -3, 0, 0.0524});
  scene.Add({HalfPhoto(photos, "flower_2268.jpg"), Everywhere, {300, 250, 0, 0}});
  scene.Add({Photo(photos, "astronaut.png"), Disc(90), {500, 330, 6, 0}});
  return scene;
}

Scene Parallax(const std::string& name, const std::string& photos) {
  Scene scene(name, {720, 480}, kStill);
  scene.Add({HalfPhoto(photos, "flower_2268.jpg"), Everywhere, {360, 240, 6, 0}});
  scene.Add({Photo(photos, "chelsea.png"), Hills, {360, 260, 24, 1, 0, 0, 0.3}});
  scene.Add({Photo(photos, "snail.png"), Disc(9), {600, 110, -48, 20}});
  scene.Add({Photo(photos, "astronaut.png"), Hills, {300, 400, 52, 2}});
  return scene;
}

Scene SmallFrame(const std::string& name, const std::string& photos) {
  Scene scene(name, {64, 48}, kStill);
  scene.Add({HalfPhoto(photos, "chelsea.png"), Everywhere, {20, 30, 3, -1}});
  scene.Add({HalfPhoto(photos, "astronaut.png"), Disc(10), {40, 26, -7, 2, 0, 0.1}});
  return scene;
}

Scene BrightLight(const std::string& name, const std::string& photos) {
  Scene scene(name, {480, 640}, {0, 0, 14, -7});
  scene.Add({Photo(photos, "desk_hdr.exr"), Everywhere, {240, 330, 0, 0}});
  scene.Add({Plain(0.02f, 0.02f, 0.03f, true), Petals(50, 4), {180, 300, 25, 12, 0, 0.1}});
  return scene;
}

}  // namespace

const std::vector<SceneMaker>& SceneMakers() {
  static const std::vector<SceneMaker> makers = {{"thin wires", &ThinWires},        {"large motion", &LargeMotion},
                                                 {"grain and zoom", &GrainAndZoom}, {"camera turn", &CameraTurn},
                                                 {"parallax", &Parallax},           {"64 x 48", &SmallFrame},
                                                 {"bright light", &BrightLight}};
  return makers;
}

}  // namespace pfbench

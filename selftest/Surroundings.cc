#include "selftest/Surroundings.h"

#include <algorithm>
#include <vector>

namespace selftest {
namespace {

constexpr std::size_t kBorder = 64;

class PlainBlock final : public Block {
 public:
  explicit PlainBlock(std::size_t size) : Block(nullptr, size), bytes_(size + 2 * kBorder, kUntouched) {
    SetData(bytes_.data() + kBorder);
  }
  bool Intact() const override {
    const auto untouched = [](std::byte b) { return b == kUntouched; };
    return std::all_of(bytes_.begin(), bytes_.begin() + kBorder, untouched) &&
           std::all_of(bytes_.end() - kBorder, bytes_.end(), untouched);
  }

 private:
  std::vector<std::byte> bytes_;
};

}  // namespace

Surroundings& Around() {
  static Surroundings surroundings = {
      [](std::size_t size, Block::Where) -> std::unique_ptr<Block> { return std::make_unique<PlainBlock>(size); },
      [] {}};
  return surroundings;
}

}  // namespace selftest

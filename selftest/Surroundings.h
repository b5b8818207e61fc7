// What the operations take from the program that runs them: the memory that pictures lie in, and the host's cache.
#pragma once

#include <cstddef>
#include <memory>

namespace selftest {

// Bytes that are not to be written beyond. All of them start as kUntouched.
class Block {
 public:
  // The strictest border of a kind of memory that has only one: right behind the last byte, or right before the first.
  enum Where { kEnd, kStart };
  static constexpr std::byte kUntouched{0xA5};

  virtual ~Block() = default;
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;
  std::byte* data() const { return data_; }
  std::size_t size() const { return size_; }
  // Whether nothing around the block has been written, as far as this kind of memory can tell.
  virtual bool Intact() const = 0;

 protected:
  Block(std::byte* data, std::size_t size) : data_(data), size_(size) {}
  void SetData(std::byte* data) { data_ = data; }

 private:
  std::byte* data_;
  std::size_t size_;
};

struct Surroundings {
  // Plain memory with known bytes on both sides unless the program brings better.
  std::unique_ptr<Block> (*new_block)(std::size_t size, Block::Where where);
  // Makes the host's media cache forget the motion that it keeps.
  void (*forget_motion)();
};

// Of the process; changed while no operation runs.
Surroundings& Around();

}  // namespace selftest

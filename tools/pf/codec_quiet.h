/// \file
/// Keeps codecs from printing on their own.
#ifndef TOOLS_PF_CODEC_QUIET_H
#define TOOLS_PF_CODEC_QUIET_H

namespace pftool {

/// While an object lives, what anything prints to stderr is dropped. Some codecs print a failure that
/// they also return, and the user is to read one sentence about it. One thread; nests.
class CodecQuiet {
 public:
  CodecQuiet();
  ~CodecQuiet();
  CodecQuiet(const CodecQuiet&) = delete;
  CodecQuiet& operator=(const CodecQuiet&) = delete;

 private:
  int saved_;
};

}  // namespace pftool

#endif

/// \file
/// Frames by their number, from files or from a stream, as frame blending takes them.
#ifndef TOOLS_PF_RETIME_FOOTAGE_H
#define TOOLS_PF_RETIME_FOOTAGE_H

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "plan.h"
#include "retime/frame_stream.h"
#include "retime/likeness.h"

namespace pftool {

/// A frame that has been read.
struct SourceFrame {
  std::string name;
  PictureFacts facts;
  WorldPtr world;  ///< straight alpha, at Footage::depth()
};

/// A source frame as it is stored.
struct StoredFrame {
  std::string name;
  std::string path;                       ///< of its file, or empty
  const StreamPicture* packed = nullptr;  ///< in a stream
};

/// Frames count from 0. They are read when they are asked for, and kept until they are forgotten. A stream gives them
/// in rising order only. One thread.
class Footage {
 public:
  /// \param depth bits that results are to have, or 0
  Footage(std::vector<InputName> files, const ReadOptions& options, int depth, Reporter* reporter);
  /// The pictures of a stream. \param name of it
  Footage(std::unique_ptr<StreamReader> stream, std::string name, const ReadOptions& options, int depth,
          Reporter* reporter);

  /// Whether there is such a frame; reads a stream as far as needed.
  bool Has(std::int64_t frame);
  std::string NameOf(std::int64_t frame);
  StoredFrame Stored(std::int64_t frame);
  /// \throws Failure (65) for a frame whose size or depth is not that of the first one read, and what reading throws.
  const SourceFrame& Get(std::int64_t frame);
  /// A frame as it is stored, its colours and depth untouched. Facts as `Get` gives them.
  WorldPtr Read(std::int64_t frame, PictureFacts* facts);

  const Signature& SignatureOf(std::int64_t frame);
  /// Whether a frame shows what the one before it shows.
  bool Repeats(std::int64_t frame);
  /// Releases frames below `frame`; a stream cannot give them again.
  void Forget(std::int64_t frame);

  /// Bits that frames are worked on with: the deepest of what is stored and asked, and at least 16 where premultiplied
  /// colours are divided.
  int DepthFor(const PictureFacts& facts) const;
  /// From Get's form to a result: the frame's own convention of alpha, and the depth that was asked or its own.
  WorldPtr Finished(WorldPtr world, const SourceFrame& like, Reporter* reporter) const;
  /// How many files there are; nothing for a stream.
  std::optional<std::int64_t> count() const;
  const InputName& file(std::int64_t frame) const { return files_[static_cast<std::size_t>(frame)]; }
  /// The form of a stream's first picture, once that has been read.
  const std::optional<StreamForm>& stream_form() const { return stream_form_; }
  bool is_stream() const { return stream_ != nullptr; }

 private:
  struct Notes {
    std::optional<Signature> signature;
    std::optional<bool> repeats;
  };
  void CheckAlike(const PictureFacts& facts);

  std::vector<InputName> files_;
  std::unique_ptr<StreamReader> stream_;
  std::string stream_name_;
  std::int64_t streamed_ = 0;
  bool stream_ended_ = false;
  std::optional<StreamForm> stream_form_;
  ReadOptions options_;
  int depth_;
  Reporter* reporter_;
  std::optional<PictureFacts> first_;
  std::map<std::int64_t, StreamPicture> packed_;
  std::map<std::int64_t, SourceFrame> frames_;
  std::map<std::int64_t, Notes> notes_;
};

}  // namespace pftool

#endif

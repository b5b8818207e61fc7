#include "retime/writer.h"

#include <fmt/format.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <fstream>

#include "engine.h"
#include "output_file.h"

namespace pftool {
namespace {

void CopyFile(const std::string& from, const std::string& to, bool overwrite) {
  OutputFile file(to, overwrite);
  std::ifstream in(from, std::ios::binary);
  std::array<char, 1 << 16> buffer;
  while (in.read(buffer.data(), buffer.size()), in.gcount() > 0) {
    file.Write({buffer.data(), static_cast<std::size_t>(in.gcount())});
  }
  if (!in.eof()) {
    throw Failure(ExitCode::kNoInput, "cannot read", QuotedInput(from), "reading failed half-way", "check the device");
  }
  file.Commit();
}

class FileWriter : public FrameWriter {
 public:
  FileWriter(FileOutput output, Footage* footage, Reporter* reporter)
      : output_(std::move(output)), footage_(footage), reporter_(reporter) {}

  std::string NameOf(std::int64_t index) const override { return output_.names.Name(index); }

  bool IsThere(std::int64_t index, const std::string& made_from) override {
    made_from_ = made_from;
    return output_.journal && output_.journal->IsThere(NameOf(index), made_from);
  }

  void Copy(std::int64_t index, std::int64_t source) override {
    const PictureFacts facts = footage_->Get(source).facts;  // read also where its bytes are copied: it may be damaged
    const WriteRequest request = RequestFor(index);
    const StoredFrame stored = footage_->Stored(source);
    const bool same_form = facts.format == request.format->plugin && !stored.packed;
    if (same_form && output_.keep_values && output_.depth == 0) {
      CopyFile(stored.path, request.path, request.overwrite);
    } else {
      PictureFacts own;
      WorldPtr world = footage_->Read(source, &own);
      world = Converted(std::move(world), output_.depth ? output_.depth : own.depth, false, QuotedInput(own.name),
                        reporter_);
      WritePicture(std::move(world), own.alpha, own, request, reporter_);
    }
    Enter(request.path);
  }

  void Write(std::int64_t index, WorldPtr world, const PictureFacts& like) override {
    const WriteRequest request = RequestFor(index);
    WritePicture(std::move(world), like.alpha, like, request, reporter_);
    Enter(request.path);
  }

 private:
  WriteRequest RequestFor(std::int64_t index) const {
    const std::string path = NameOf(index);
    const bool ours = output_.journal && !output_.overwrite && output_.journal->IsOurs(path);
    return {path, &FormatFor(path, output_.format), output_.overwrite || ours, output_.depth != 0};
  }
  void Enter(const std::string& path) {
    if (output_.journal) output_.journal->Add(path, made_from_);
  }

  FileOutput output_;
  Footage* footage_;
  Reporter* reporter_;
  std::string made_from_;
};

class StreamWriter : public FrameWriter {
 public:
  StreamWriter(int depth, Footage* footage, Reporter* reporter)
      : depth_(depth), footage_(footage), reporter_(reporter) {}

  std::string NameOf(std::int64_t index) const override { return fmt::format("frame {}", index + 1); }

  void Copy(std::int64_t, std::int64_t source) override {
    const PictureFacts facts = footage_->Get(source).facts;
    const StoredFrame stored = footage_->Stored(source);
    const bool same_depth = depth_ == 0 || depth_ == facts.depth;
    if (stored.packed && same_depth) return Put(*stored.packed);
    const bool plain = facts.alpha != Alpha::kPremultiplied && facts.channels == facts.file_channels;
    if (!stored.packed && same_depth && plain) return Put(Repacked(source));
    PictureFacts own;
    WorldPtr world = footage_->Read(source, &own);
    world = Converted(std::move(world), depth_ ? depth_ : own.depth, false, QuotedInput(own.name), reporter_);
    Write(0, std::move(world), own);
  }

  void Write(std::int64_t, WorldPtr world, const PictureFacts& like) override {
    // Streams keep their own convention of alpha; files are brought to the one that streams usually have.
    if (!footage_->is_stream() && like.alpha == Alpha::kPremultiplied) {
      Guarded("cannot write", "the alpha", [&] { world->Unmultiply(); });
    }
    const auto own = footage_->stream_form();
    const bool keep = own && FactsOf(*own, "", {}).depth == world->Depth();
    const StreamForm form = keep ? *own : FormFor(like, world->Depth());
    Put(Packed(form, [&](int y, std::byte* values) {
      RowFromWorld(static_cast<const std::byte*>(world->data) + static_cast<std::ptrdiff_t>(y) * world->row_bytes,
                   world->Depth(), form.channels, form.width, values);
    }));
  }

 private:
  // Values of a file as they are stored, which 16-bit worlds would not keep.
  StreamPicture Repacked(std::int64_t source) {
    const InputName& file = footage_->file(source);
    PictureReader reader(file.path, file.name, {});
    const std::size_t row_bytes = reader.band_row_bytes();
    std::vector<std::byte> band(row_bytes * static_cast<std::size_t>(reader.band_rows()));
    return Packed(FormFor(reader.facts(), reader.facts().depth), [&](int y, std::byte* values) {
      const int row = y % reader.band_rows();
      if (row == 0) reader.ReadBand(y, band.data(), reporter_);
      std::memcpy(values, band.data() + static_cast<std::size_t>(row) * row_bytes, row_bytes);
    });
  }

  void Put(const StreamPicture& picture) {
    if (!form_) form_ = picture.form;
    if (picture.form != *form_) {
      throw Failure(ExitCode::kBadData, "cannot write", "standard output",
                    "a frame has other channels than those before it",
                    "bring all frames to one form with 'pf convert'");
    }
    WriteStreamPicture(STDOUT_FILENO, picture);
  }

  int depth_;
  Footage* footage_;
  Reporter* reporter_;
  std::optional<StreamForm> form_;
};

}  // namespace

std::unique_ptr<FrameWriter> NewFileWriter(FileOutput output, Footage* footage, Reporter* reporter) {
  return std::make_unique<FileWriter>(std::move(output), footage, reporter);
}

std::unique_ptr<FrameWriter> NewStreamWriter(int depth, Footage* footage, Reporter* reporter) {
  return std::make_unique<StreamWriter>(depth, footage, reporter);
}

}  // namespace pftool

// The first image of a file. Its tags are read once and turned into a plan when the file is opened. From then on every
// read borrows a decoder that has a handle of its own, because a handle of libtiff serves one thread at a time.
//
// A decoder that comes back waits for the next read. There are never more of them than there were readers at one time.
//
// A codec that is missing is told to the operator by a message box. The caller's sentence stays empty then, unless it
// is an exact load.

#include "bands/tiff/TiffImage.h"

#include "bands/tiff/TiffDirectoryCheck.h"
#include "bands/tiff/TiffExactPlan.h"
#include "bands/tiff/TiffReduced.h"
#include "bands/tiff/TiffTexts.h"
#include "XFile.h"
#include "XMessageBox.h"

#include <optional>
#include <string_view>
#include <utility>

namespace zrk {
namespace {

/// A reason why a file can't be decoded, and the title under which an operator is told so.
struct Obstacle {
  XString text;
  const char* title;
};

/// What this build lacks for the file; nothing where it lacks nothing.
std::optional<Obstacle> FindObstacle(const TiffTags& tags) {
  if (tags.compression != COMPRESSION_NONE && !TIFFIsCODECConfigured(static_cast<std::uint16_t>(tags.compression))) {
    XString text;
    text.Format("Fail to open fie [missing codec : %d]", tags.compression);
    return Obstacle{text, "Reading GeoTIFF..."};
  }
  if (tags.compression == COMPRESSION_JPEG && tags.bitsPerSample != 8) {
    return Obstacle{"Current version does not support 12 bit JPEG TIFF", "Reading GeoTIFF"};
  }
  return std::nullopt;
}

/// Exact loads have the reason in their sentence, since programs show that. For others the operator is told.
bool HasDecoder(const TiffTags& tags, XReadPolicy policy, XString& err) {
  const std::optional<Obstacle> obstacle = FindObstacle(tags);
  if (!obstacle) return true;
  if (policy == kReadExact) {
    err.Format(tags.compression == COMPRESSION_JPEG ? "There is no decoder for JPEG of %d bits a sample"
                                                    : "There is no decoder for compression %d",
               tags.compression == COMPRESSION_JPEG ? tags.bitsPerSample : tags.compression);
  } else {
    XfnMessageBox(obstacle->text, obstacle->title, kMessageIconError);
  }
  return false;
}

/// The text of the tag for samples without data; empty without one.
std::string_view FindNullText(TIFF* tiff) {
  constexpr ttag_t kNoDataTag = 42113;
  const TIFFField* const field = TIFFFindField(tiff, kNoDataTag, TIFF_ANY);
  if (!field || TIFFFieldDataType(field) != TIFF_ASCII) return {};
  const char* text = nullptr;
  if (TIFFFieldPassCount(field)) {
    std::uint32_t count = 0;
    if (!TIFFGetField(tiff, kNoDataTag, &count, &text) || !text) return {};
    return {text, count};
  }
  return TIFFGetField(tiff, kNoDataTag, &text) && text ? std::string_view(text) : std::string_view();
}

tagXTiffDirectory Describe(TIFF* tiff) {
  const TiffTags tags = ReadTiffTags(tiff);
  std::uint32_t subfile = 0;
  TIFFGetField(tiff, TIFFTAG_SUBFILETYPE, &subfile);
  return {ToSide(tags.width),      ToSide(tags.height),      tags.samplesPerPixel,
          tags.bitsPerSample,      tags.compression,         subfile,
          ToSide(tags.blockWidth), ToSide(tags.blockHeight), tags.isTiled};
}

bool CanLibtiffMakeColours(TIFF* tiff) {
  char reason[1024] = "";
  return TIFFRGBAImageOK(tiff, reason) == 1;
}

TiffLayout PlanDirectory(TIFF* tiff, const TiffTags& tags, XReadPolicy policy) {
  // The plan depends on what libtiff will deliver, so the colours are asked for before it is made.
  AskForRgb(tiff, tags);
  const TiffColourMap map = ReadTiffColourMap(tiff, tags.bitsPerSample);
  if (policy == kReadCompatible) return PlanTiff(tags, map, CanLibtiffMakeColours(tiff));
  TiffLayout layout = PlanTiffExactly(tags, map, CanLibtiffMakeColours(tiff));
  layout.nullSample = ParseNullSample(FindNullText(tiff), layout);
  return layout;
}

}  // namespace

std::shared_ptr<TiffImage> TiffImage::Open(const XString& path, XReadPolicy policy, XString& err) {
  auto image = std::make_shared<TiffImage>();
  TiffSource& source = *image->source_;
  XFile file;
  if (file.Open(path, XFile::kRead | XFile::kShareDenyWrite)) {
    source.name = path;
    source.messages = std::make_shared<TiffMessages>();
    source.file = std::make_shared<RowFile>(file.GetDiskFile());
    image->handle_ = TiffHandle::Open(file.GetDiskFile(), path, source.messages, TiffHandle::kTableBytes);
  }
  if (!image->handle_) {
    err = "Can't open file : " + path;
    return nullptr;
  }
  return image->Plan(image->handle_->Get(), policy, err) ? image : nullptr;
}

bool TiffImage::Plan(TIFF* tiff, XReadPolicy policy, XString& err) {
  if (policy == kReadExact && !HoldsTiffDirectory(tiff, source_->file->File())) {
    err = "The file ends before the values of its tags do";
    return false;
  }
  const TiffTags tags = ReadTiffTags(tiff);
  if (!HasDecoder(tags, policy, err)) return false;
  source_->layout = PlanDirectory(tiff, tags, policy);
  source_->extraSamples = ReadExtraSamples(tiff);
  const XString obstacle = TellTiffObstacle(source_->layout);
  if (!obstacle.IsEmpty()) err = obstacle;
  return obstacle.IsEmpty() && MeasureTiffBlocks(tiff, *source_, err);
}

std::shared_ptr<TiffImage> TiffImage::OpenDirectory(TIFF* tiff, const TiffSource& file) {
  auto image = std::make_shared<TiffImage>();
  TiffSource& source = *image->source_;
  source.name = file.name;
  source.file = file.file;
  source.messages = file.messages;
  source.directory = TIFFCurrentDirOffset(tiff);
  XString err;
  return image->Plan(tiff, kReadExact, err) ? image : nullptr;
}

std::shared_ptr<TiffImage> TiffImage::OpenIndices() const {
  auto image = std::make_shared<TiffImage>();
  TiffSource& source = *image->source_;
  source.name = source_->name;
  source.file = source_->file;
  source.messages = source_->messages;
  image->handle_ = TiffHandle::Open(source.file->Share(), source.name, source.messages, TiffHandle::kTableBytes);
  XString err;
  if (!image->handle_ || !image->Plan(image->handle_->Get(), kReadExact, err)) return nullptr;
  source.layout.palette = {};
  source.layout.numChannels = source.layout.tags.samplesPerPixel;
  return image;
}

const std::vector<TiffReduced>& TiffImage::GetReducedImages() {
  std::call_once(isLookedFor_, [this] {
    if (source_->layout.isExact) reduced_ = FindReducedImages(*source_, whyNotBeside_);
    areReducedKnown_ = true;
  });
  return reduced_;
}

const TiffReduced* TiffImage::FindReduced(int level) {
  const TiffReduced* found = nullptr;
  for (const TiffReduced& each : GetReducedImages()) {
    if (each.level <= level) found = &each;
  }
  return found;
}

std::vector<tagXTiffDirectory> TiffImage::ListDirectories(int most) const {
  std::vector<tagXTiffDirectory> directories;
  // Going on to other directories would move the shared handle, so this uses one of its own.
  const auto handle =
      TiffHandle::Open(source_->file->Share(), source_->name, source_->messages, TiffHandle::kTableBytes);
  while (handle && std::ssize(directories) < most && TIFFReadDirectory(handle->Get())) {
    directories.push_back(Describe(handle->Get()));
  }
  return directories;
}

std::unique_ptr<TiffDecoder> TiffImage::Take() {
  {
    const std::lock_guard lock(mutex_);
    if (!decoders_.empty()) {
      std::unique_ptr<TiffDecoder> decoder = std::move(decoders_.back());
      decoders_.pop_back();
      return decoder;
    }
  }
  std::unique_ptr<TiffDecoder> decoder = TiffDecoder::Open(source_);
  // There is room for the decoder when it comes back, which must not fail.
  const std::lock_guard lock(mutex_);
  if (decoder) decoders_.reserve(++numDecoders_);
  return decoder;
}

void TiffImage::Return(std::unique_ptr<TiffDecoder> decoder) {
  if (!decoder) return;
  decoder->LetGo();
  const std::lock_guard lock(mutex_);
  decoders_.push_back(std::move(decoder));
}

/// Decoders that are lent out stay counted, since they will come back.
void TiffImage::FreeDecoders() {
  // Others may be looking for reduced images just now. Those have no decoders yet.
  if (areReducedKnown_) {
    for (const TiffReduced& each : reduced_) each.image->FreeDecoders();
  }
  const std::lock_guard lock(mutex_);
  numDecoders_ -= decoders_.size();
  decoders_.clear();
}

}  // namespace zrk

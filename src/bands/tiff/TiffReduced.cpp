// Many TIFF files also carry their image in smaller sizes: in directories behind the first one, in directories below
// it, or in a file of their own beside it. Reduced images that hold the samples of a level serve exact reads of that
// level.
//
// An image that can't be opened or does not fit is left out, and its level is made from a finer one. Only its name ties
// the file beside the image to the image. A file that can't belong to the image is named with the reason: it was
// written before the image, or it has images of other sizes or samples.

#include "bands/tiff/TiffReduced.h"

#include "base/Disk.h"
#include "XFile.h"
#include "XPath.h"

#include <algorithm>
#include <span>
#include <utility>

namespace zrk {
namespace {

/// A damaged file may have no end of directories.
constexpr int kMaxLevel = 30;

constexpr std::uint32_t kIsReduced = 1, kIsMask = 4;

/// 0 where the sizes are not those of a level.
int FindLevelOfSize(const TiffTags& tags, const TiffTags& first) {
  for (int level = 1; level <= kMaxLevel; ++level) {
    if (IsSizeAtLevel(ToSide(tags.width), ToSide(first.width), level) &&
        IsSizeAtLevel(ToSide(tags.height), ToSide(first.height), level)) {
      return level;
    }
  }
  return 0;
}

/// Whether the samples mean the same in both.
bool HasSamplesOf(const TiffLayout& layout, const TiffLayout& first) {
  const TiffTags &tags = layout.tags, &others = first.tags;
  const bool isWhiteZero = tags.photometric == PHOTOMETRIC_MINISWHITE;
  return layout.dataType == first.dataType && layout.numChannels == first.numChannels &&
         layout.isRgba == first.isRgba && tags.bitsPerSample == others.bitsPerSample &&
         tags.samplesPerPixel == others.samplesPerPixel && tags.sampleFormat == others.sampleFormat &&
         isWhiteZero == (others.photometric == PHOTOMETRIC_MINISWHITE) && layout.palette.red == first.palette.red &&
         layout.palette.green == first.palette.green && layout.palette.blue == first.palette.blue;
}

std::uint32_t ReadKind(TIFF* tiff) {
  std::uint32_t kind = 0;
  TIFFGetField(tiff, TIFFTAG_SUBFILETYPE, &kind);
  return kind;
}

/// Whether a file was last written to before the other one was. What can't be told is not so.
bool IsOlder(const XString& path, const XString& other) {
  FileStatus status, otherStatus;
  return CurrentDisk().GetStatus(path.AsStdString(), status) == 0 &&
         CurrentDisk().GetStatus(other.AsStdString(), otherStatus) == 0 && status.modified < otherStatus.modified;
}

/// The directories that hang below the open one.
std::vector<std::uint64_t> ListDirectoriesBelow(TIFF* tiff) {
  std::uint16_t count = 0;
  const std::uint64_t* offsets = nullptr;
  if (!TIFFGetField(tiff, TIFFTAG_SUBIFD, &count, &offsets) || !offsets) return {};
  const std::span<const std::uint64_t> all(offsets, count);
  return {all.begin(), all.end()};
}

class Finder {
 public:
  Finder(const TiffSource& first, XString& whyNot) : first_(first), whyNot_(whyNot) {}

  std::vector<TiffReduced> Find() {
    LookInFile();
    LookBeside();
    std::ranges::sort(found_, {}, &TiffReduced::level);
    return std::move(found_);
  }

 private:
  void LookInFile() {
    const auto handle = TiffHandle::Open(first_.file->Share(), first_.name, first_.messages, TiffHandle::kTableBytes);
    if (!handle) return;
    TIFF* const tiff = handle->Get();
    const std::vector<std::uint64_t> below = ListDirectoriesBelow(tiff);
    for (int i = 0; i < kMaxTiffDirectories && TIFFReadDirectory(tiff); ++i) Look(tiff, first_, true);
    for (const std::uint64_t offset : below) {
      if (TIFFSetSubDirectory(tiff, offset)) Look(tiff, first_, true);
    }
  }

  /// The images of the file beside need not say that they are reduced: they have no other use.
  void LookBeside() {
    XFile file;
    TiffSource beside;
    beside.name = first_.name + ".ovr";
    if (!XFile::Exists(beside.name)) return;
    if (IsOlder(beside.name, first_.name)) return Refuse("is older than the image");
    if (!file.Open(beside.name, XFile::kRead | XFile::kShareDenyWrite)) return Refuse("can't be opened");
    beside.file = std::make_shared<RowFile>(file.GetDiskFile());
    beside.messages = std::make_shared<TiffMessages>(first_.messages);
    const auto handle = TiffHandle::Open(beside.file->Share(), beside.name, beside.messages, TiffHandle::kTableBytes);
    if (!handle) return Refuse("is no TIFF file");
    const std::size_t numBefore = found_.size();
    for (int i = 0; i < kMaxTiffDirectories && whyNot_.IsEmpty(); ++i) {
      Look(handle->Get(), beside, false);
      if (!TIFFReadDirectory(handle->Get())) break;
    }
    if (!whyNot_.IsEmpty()) found_.erase(found_.begin() + static_cast<std::ptrdiff_t>(numBefore), found_.end());
  }

  /// One image that is not of this one speaks against the whole file beside.
  void Refuse(const char* why) { whyNot_ = XfnGetFileName(first_.name) + ".ovr is not used, because it " + why; }

  /// Keeps the open directory where it is one of a level that has none.
  void Look(TIFF* tiff, const TiffSource& file, bool isInFile) {
    const std::uint32_t kind = ReadKind(tiff);
    if ((kind & kIsMask) != 0 || (isInFile && (kind & kIsReduced) == 0)) return;
    const TiffTags tags = ReadTiffTags(tiff);
    const int level = FindLevelOfSize(tags, first_.layout.tags);
    if (!isInFile && !IsReduction(ToSide(tags.width), ToSide(tags.height), ToSide(first_.layout.tags.width),
                                  ToSide(first_.layout.tags.height))) {
      return Refuse("has an image that is no reduced size of this one");
    }
    if (level == 0 || std::ranges::find(found_, level, &TiffReduced::level) != found_.end()) return;
    std::shared_ptr<TiffImage> image = TiffImage::OpenDirectory(tiff, file);
    if (!image || !HasSamplesOf(image->GetLayout(), first_.layout)) {
      if (!isInFile) Refuse(image ? "has samples of another kind" : "has an image that can't be read");
      return;
    }
    image->SetNullSample(first_.layout.nullSample);
    found_.push_back({level, std::move(image)});
  }

  const TiffSource& first_;
  XString& whyNot_;
  std::vector<TiffReduced> found_;
};

}  // namespace

bool IsSizeAtLevel(int size, int whole, int level) {
  const int down = whole >> level;
  const int up = static_cast<int>((std::int64_t{whole} + (std::int64_t{1} << level) - 1) >> level);
  return size > 0 && (size == down || size == up);
}

/// A factor f rounds w to v where w / f differs from v by less than 1, which leaves f a range without its ends.
bool IsReduction(int width, int height, int wholeWidth, int wholeHeight) {
  if (width <= 0 || height <= 0) return false;
  const auto below = [](std::int64_t whole, std::int64_t size) { return whole / (size + 1); };
  const std::int64_t factor = std::max<std::int64_t>({2, below(wholeWidth, width) + 1, below(wholeHeight, height) + 1});
  return factor * (width - std::int64_t{1}) < wholeWidth && factor * (height - std::int64_t{1}) < wholeHeight;
}

std::vector<TiffReduced> FindReducedImages(const TiffSource& first, XString& whyNot) {
  return Finder(first, whyNot).Find();
}

}  // namespace zrk

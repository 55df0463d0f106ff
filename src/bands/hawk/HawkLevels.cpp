// The images of a Hawk data set, one file for each level. The files are opened through the table of formats, as bands
// of their own format. If a file has several channels, the first one counts.
//
// Names are looked for in capitals, as data sets have them, and then in small letters.

#include "bands/hawk/HawkLevels.h"

#include "base/ReadError.h"
#include "core/load/OtherFormats.h"
#include "XFile.h"
#include "XFormatId.h"
#include "XLevelMode.h"
#include "XPath.h"
#include "XRSFile.h"

#include <algorithm>
#include <array>

namespace zrk {
namespace {

constexpr std::array<const char*, kHawkLevels> kEndings = {".TIF_1",  ".TIF_2",  ".TIF_4",  ".TIF_8",
                                                           ".TIF_16", ".TIF_32", ".TIF_64", ".TIF_128"};

/// Whether an image of a level can have the size that a full one leaves it, rounded either way.
bool IsReduced(int reduced, int full, int level) {
  const int step = 1 << level;
  return reduced == full / step || reduced == (full - 1) / step + 1;
}

std::unique_ptr<ZRMBand> OpenImage(const XString& path, XReadPolicy policy, XString& err, XThread* thread) {
  XRSFile dataset;
  dataset.SetReadPolicy(policy);
  std::vector<std::unique_ptr<ZRMBand>> bands = OpenBandsOf(kFormatTIF, {&dataset, path, err, 0, kLevelNone, thread});
  if (bands.empty()) return nullptr;
  const std::size_t numChannels = bands.size();
  while (bands.size() > 1) bands.pop_back();  // followers go before their master
  if (policy != kReadExact || numChannels == 1) return std::move(bands.front());
  err = XfnGetFileName(path) + " has several channels, and an image of a scanning sensor has one";
  return nullptr;
}

/// Calls `exists` with each name that counts until it answers `wanted`; whether it did.
bool FindImage(const XString& folder, const XString& base, int except, bool wanted) {
  for (int level = 0; level < kHawkLevels; ++level) {
    if (1 << level == except) continue;
    if (XFile::Exists(folder + base + kEndings[static_cast<std::size_t>(level)]) == wanted) return true;
  }
  return false;
}

}  // namespace

HawkName::HawkName(const XString& path) : folder(XfnGetFileFolder(path)), base(XfnGetFileTitle(path)) {
  XString ending(".");
  ending += XfnGetFileExt(path);
  ending.MakeUpper();
  isImage = std::ranges::find(kEndings, ending.AsStdString()) != kEndings.end();
}

XString HawkName::PathOf(const char* ending) const {
  const XString path = folder + base + ending;
  if (XFile::Exists(path)) return path;
  XString small = ending;
  small.MakeLower();
  return XFile::Exists(folder + base + small) ? folder + base + small : path;
}

XString HawkName::PathOfLevel(int level) const {
  return PathOf(kEndings[static_cast<std::size_t>(level)]);
}

bool ExistAllHawkImages(const XString& folder, const XString& base, int except) {
  return !FindImage(folder, base, except, false);
}

bool ExistsAnyHawkImage(const XString& folder, const XString& base, int except) {
  return FindImage(folder, base, except, true);
}

int HawkLevels::OpenFirst(const HawkName& name, XReadPolicy policy, XString& err, XThread* thread) {
  Clear();
  refusal_.Empty();
  std::unique_ptr<ZRMBand> first = OpenImage(name.PathOfLevel(0), policy, err, thread);
  if (!first) return 0;
  images_.push_back(std::move(first));
  return 1;
}

void HawkLevels::OpenOthers(const HawkName& name, XReadPolicy policy, XThread* thread) {
  for (int level = 1; level < kHawkLevels; ++level) {
    const XString path = name.PathOfLevel(level);
    std::unique_ptr<ZRMBand> image;
    XString reason;
    if (XFile::Exists(path)) {
      image = OpenImage(path, policy, reason, thread);
      if (image && !Fits(*image, level, policy)) {
        image.reset();
        reason = "its size or its type is not that of the first image";
      }
      if (!image && refusal_.IsEmpty()) refusal_ = XfnGetFileName(path) + " isn't used: " + reason;
    }
    images_.push_back(std::move(image));
  }
}

bool HawkLevels::Fits(const ZRMBand& image, int level, XReadPolicy policy) const {
  const ZRMBand& first = *images_.front();
  if (image.GetDataType() != first.GetDataType()) return false;
  if (policy != kReadExact) return true;
  return IsReduced(image.GetXSize(), first.GetXSize(), level) && IsReduced(image.GetYSize(), first.GetYSize(), level);
}

/// A level above the last one gives that one's image. A band without any images answers 1 and gives nothing, as callers
/// know it.
int HawkLevels::ReadCompatibly(tagXArr2*& out, const ReadRequest& request, int* cancel) const {
  if (Count() == 1) {
    return At(0)->ReadSubset(out, request.level, request.x0, request.x1, request.y0, request.y1, cancel);
  }
  if (Count() != kHawkLevels) return 1;
  const int level = std::min(request.level, kHawkLevels - 1);
  ZRMBand* const image = At(level);
  if (!image) return FailRead("The level has no image");
  return image->ReadSubset(out, 0, request.x0 >> level, request.x1 >> level, request.y0 >> level, request.y1 >> level,
                           cancel);
}

/// The size is counted on the level that is asked, and the place on that of the image.
int HawkLevels::ReadExactly(tagXArr2*& out, const ReadRequest& request, int* cancel) const {
  int level = std::min(request.level, Count() - 1);
  while (level > 0 && !At(level)) --level;
  if (level < 0) return FailRead("The band has no image");
  const int width = request.Width() >> request.level, height = request.Height() >> request.level;
  if (width == 0 || height == 0) return FailRead(kNoSuchLevel);
  const int rest = request.level - level;
  if (level == 0) {
    return At(0)->ReadSubset(out, rest, request.x0, request.x1, request.y0, request.y1, cancel);
  }
  const int x0 = request.x0 >> level, y0 = request.y0 >> level;
  return At(level)->ReadSubset(out, rest, x0, x0 + (width << rest) - 1, y0, y0 + (height << rest) - 1, cancel);
}

void HawkLevels::FreeBuffers(int freeBuffers, int force) const {
  for (const std::unique_ptr<ZRMBand>& image : images_) {
    if (image) image->CleanupMemory(freeBuffers, force);
  }
}

}  // namespace zrk

#pragma once

#include "core/model/ChannelReads.h"
#include "XReadPolicy.h"
#include "XString.h"
#include "ZRMBand.h"

#include <memory>
#include <vector>

class XThread;

namespace zrk {

inline constexpr int kHawkLevels = 8;

/// The name of a file of a data set, taken apart.
struct HawkName {
  XString folder;  ///< with its separator at the end
  XString base;
  bool isImage = false;  ///< its extension is that of one of the images, in any case

  explicit HawkName(const XString& path);
  /// The name of a file of the set with an extension in capitals, as ".TIF_1". Where only one with small letters is
  /// there, its name.
  XString PathOf(const char* ending) const;
  /// The same of the image of a level.
  XString PathOfLevel(int level) const;
};

/// Whether all images, or any, exist in a folder, but for the one that is reduced by `except`.
bool ExistAllHawkImages(const XString& folder, const XString& base, int except);
bool ExistsAnyHawkImage(const XString& folder, const XString& base, int except);

/// The images of a data set. Entry n is the one reduced by 2^n, or null. There are eight entries, or one where the
/// first image is alone, or none.
class HawkLevels {
 public:
  ~HawkLevels() { Clear(); }

  void Clear() { images_.clear(); }
  /// Opens the first image; 0 with the reason where that fails.
  int OpenFirst(const HawkName& name, XReadPolicy policy, XString& err, XThread* thread);
  /// Opens those of the other levels, as far as they are there and fit the first one.
  void OpenOthers(const HawkName& name, XReadPolicy policy, XThread* thread);

  int Count() const { return static_cast<int>(images_.size()); }
  ZRMBand* At(int level) const {
    return level >= 0 && level < Count() ? images_[static_cast<std::size_t>(level)].get() : nullptr;
  }
  /// What is wrong with images that are there and were not taken; empty where nothing is.
  const XString& GetRefusal() const { return refusal_; }

  // The window has to lie in the band. The level is one from 0 on.

  int ReadCompatibly(tagXArr2*& out, const ReadRequest& request, int* cancel) const;
  int ReadExactly(tagXArr2*& out, const ReadRequest& request, int* cancel) const;
  void FreeBuffers(int freeBuffers, int force) const;

 private:
  bool Fits(const ZRMBand& image, int level, XReadPolicy policy) const;

  std::vector<std::unique_ptr<ZRMBand>> images_;
  XString refusal_;
};

}  // namespace zrk

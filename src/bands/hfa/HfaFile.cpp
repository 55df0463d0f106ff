// An HFA file through GDAL's public interface. The driver is handed a name that leads to our own disk, and so every
// byte passes that; files that the image names, as those of large images and of overviews, have to lie beneath its
// folder. Notes that other programs have left beside the image are not looked at, nor are reduced images in files of
// their own that the image does not name.
//
// GDAL's objects serve one thread at a time. A read borrows one, and gives it back for the next read of any thread.

#include "bands/hfa/HfaFile.h"

#include "bands/hfa/HfaLayout.h"
#include "base/ReadError.h"
#include "geo/GdalDisk.h"
#include "geo/GdalScope.h"

#include <gdal_frmts.h>
#include <gdal_priv.h>

namespace zrk {

namespace {

constexpr const char* kHfaIsUnreadable = "The file can't be read";

/// What every call of the driver needs: silence, no switches of the environment, and no file elsewhere.
class HfaScope {
 public:
  explicit HfaScope(const XString& path) : kept_(path) {}
  const XString& GetLastError() const { return quiet_.GetLastError(); }

 private:
  QuietGdal quiet_;
  CPLConfigOptionSetter notes_{"GDAL_PAM_ENABLED", "NO", false};
  KeptToFolder kept_;
};

/// What GDAL had to say, with the names that callers know. A sentence that tells addresses in memory is of no use to
/// anybody, and what follows the first line is a guess at the error of the system.
XString ToldBy(const HfaScope& scope) {
  const XString told = WithPathsOfDisk(scope.GetLastError());
  const XString line = told.Left(told.Find('\n') < 0 ? told.GetLength() : told.Find('\n'));
  return line.Find("0x") < 0 ? line : XString();
}

void RegisterHfa() {
  static std::once_flag once;
  std::call_once(once, [] { GDALRegister_HFA(); });
}

}  // namespace

void HfaFile::Close::operator()(GDALDataset* dataset) const {
  const QuietGdal quiet;
  GDALClose(dataset);
}

HfaFile::HfaFile(XString path, bool isExact) : path_(std::move(path)), isExact_(isExact) {}

HfaFile::~HfaFile() = default;

HfaFile::Dataset HfaFile::OpenDataset(XString& reason) const {
  RegisterHfa();
  const HfaScope scope(path_);
  const WatchedReads reads;
  const char* const drivers[] = {"HFA", nullptr};
  const char* const nothingBeside[] = {nullptr};
  constexpr unsigned kHow = GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_INTERNAL;
  Dataset dataset(GDALDataset::Open(PathForGdal(path_), kHow, drivers, nullptr, nothingBeside));
  if (!dataset) reason = ToldBy(scope);
  if (!dataset || !isExact_ || !reads.HaveFailed()) return dataset;
  reason = kHfaIsUnreadable;
  return nullptr;
}

std::shared_ptr<HfaFile> HfaFile::Open(const XString& path, bool isExact, XString& reason) {
  auto file = std::make_shared<HfaFile>(path, isExact);
  Dataset dataset = file->OpenDataset(reason);
  if (!dataset) {
    if (reason.IsEmpty()) reason = "The file is no HFA file, or is damaged";
    return nullptr;
  }
  const HfaScope scope(path);
  const WatchedReads reads;
  if (!DescribeHfa(*dataset, file->layout_, reason)) return nullptr;
  if (isExact && reads.HaveFailed()) {
    reason = kHfaIsUnreadable;
    return nullptr;
  }
  file->idle_.push_back(std::move(dataset));
  return file;
}

HfaFile::Dataset HfaFile::Borrow() {
  {
    const std::lock_guard lock(mutex_);
    if (!idle_.empty()) {
      Dataset dataset = std::move(idle_.back());
      idle_.pop_back();
      return dataset;
    }
  }
  XString reason;
  Dataset dataset = OpenDataset(reason);
  const bool isSame = dataset && dataset->GetRasterXSize() == layout_.Width() &&
                      dataset->GetRasterYSize() == layout_.Height() &&
                      dataset->GetRasterCount() == static_cast<int>(layout_.layers.size());
  return isSame ? std::move(dataset) : nullptr;
}

void HfaFile::GiveBack(Dataset dataset) {
  const std::lock_guard lock(mutex_);
  idle_.push_back(std::move(dataset));
}

/// What all blocks of a read need is set once, because setting it takes as long as reading a small block.
struct HfaFile::Loan::Scope : HfaScope {
  using HfaScope::HfaScope;
};

HfaFile::Loan::Loan(HfaFile& file)
    : file_(file), scope_(std::make_unique<Scope>(file.path_)), dataset_(file.Borrow().release()) {
  if (!dataset_) NoteReadError("The file is another one than it was when it was opened, or is gone");
}

/// A handle that finds no room in the list is closed, and so is one that may have kept zeros for what it did not get.
HfaFile::Loan::~Loan() {
  if (!dataset_) return;
  Dataset dataset(dataset_);
  if (!isSound_) return;
  try {
    file_.GiveBack(std::move(dataset));
  } catch (const std::bad_alloc&) {
  }
}

bool HfaFile::Loan::ReadBlock(int layer, int overview, int blockX, int blockY, void* out, bool& isCut) {
  const WatchedReads reads;
  GDALRasterBand* band = dataset_->GetRasterBand(layer + 1);
  if (band && overview >= 0) {
    const HfaLayer& described = file_.layout_.layers[static_cast<std::size_t>(layer)];
    band = band->GetOverview(described.overviewNumbers[static_cast<std::size_t>(overview)]);
  }
  const bool isRead = band && band->ReadBlock(blockX, blockY, out) == CE_None;
  isCut = reads.WereCut();
  isSound_ = isSound_ && isRead && !isCut;
  if (isRead) return true;
  XString sentence;
  sentence.Format("The block at column %d and row %d of blocks can't be read", blockX, blockY);
  const XString told = ToldBy(*scope_);
  if (!told.IsEmpty()) sentence += ": ";
  sentence += told;
  NoteReadError(sentence);
  return false;
}

}  // namespace zrk

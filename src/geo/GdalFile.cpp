// A raster through GDAL's public interface. The driver is handed a name that leads to our own disk, and so every byte
// passes that. Files that the image names, as those of large images and of overviews, have to lie beneath its folder.
// Notes that other programs have left beside the image are not looked at, nor are reduced images in files of their own
// that the image does not name.
//
// GDAL's objects serve one thread at a time. A read borrows one, and gives it back for the next read of any thread. An
// object in which a read may have left something wrong is closed instead: drivers keep the last block that they made.

#include "geo/GdalFile.h"

#include "base/ReadError.h"
#include "geo/GdalDisk.h"
#include "geo/GdalScope.h"

#include <cpl_string.h>
#include <gdal_priv.h>
#include <optional>
#include <utility>

namespace zrk {

namespace {

constexpr const char* kDiskFails = "The file can't be read";

/// What every call of a driver needs: silence, no switches of the program and no file elsewhere.
class DriverScope {
 public:
  DriverScope(const GdalFormat& format, const XString& path) : before_(CPLGetThreadLocalConfigOptions()), kept_(path) {
    CPLSetThreadLocalConfigOptions(format.switches);
  }
  ~DriverScope() {
    CPLSetThreadLocalConfigOptions(before_);
    CSLDestroy(before_);
  }
  DriverScope(const DriverScope&) = delete;
  DriverScope& operator=(const DriverScope&) = delete;
  const XString& GetLastError() const { return quiet_.GetLastError(); }

 private:
  QuietGdal quiet_;
  char** before_;
  KeptToFolder kept_;
};

/// What GDAL had to say, with the names that callers know. A sentence that tells addresses in memory is of no use to
/// anybody, and what follows the first line is a guess at the error of the system.
XString ToldBy(const DriverScope& scope) {
  const XString told = WithPathsOfDisk(scope.GetLastError());
  const XString line = told.Left(told.Find('\n') < 0 ? told.GetLength() : told.Find('\n'));
  return line.Find("0x") < 0 ? line : XString();
}

}  // namespace

void GdalFile::Close::operator()(GDALDataset* dataset) const {
  const QuietGdal quiet;
  GDALClose(dataset);
}

GdalFile::GdalFile(const GdalFormat& format, XString path, bool isExact)
    : format_(format), path_(std::move(path)), isExact_(isExact) {}

GdalFile::~GdalFile() = default;

GdalFile::Dataset GdalFile::OpenDataset(XString& reason) const {
  format_.registerDrivers();
  const DriverScope scope(format_, path_);
  const SmallReadsAhead ahead;
  const WatchedReads reads;
  const char* const drivers[] = {format_.driver, nullptr};
  const char* const nothingBeside[] = {nullptr};
  constexpr unsigned kHow = GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_INTERNAL;
  Dataset dataset(GDALDataset::Open(PathForGdal(path_), kHow, drivers, nullptr, nothingBeside));
  if (!dataset) reason = ToldBy(scope);
  if (!dataset && reason.IsEmpty()) reason = format_.notOpened;
  if (!dataset || !isExact_ || !reads.HaveFailed()) return dataset;
  reason = kDiskFails;
  return nullptr;
}

bool GdalFile::Open(const std::function<bool(GDALDataset& dataset, XString& reason)>& describe, XString& reason) {
  Dataset dataset = OpenDataset(reason);
  if (!dataset) return false;
  const DriverScope scope(format_, path_);
  const SmallReadsAhead ahead;
  const WatchedReads reads;
  if (!describe(*dataset, reason)) return false;
  if (isExact_ && reads.HaveFailed()) {
    reason = kDiskFails;
    return false;
  }
  width_ = dataset->GetRasterXSize();
  height_ = dataset->GetRasterYSize();
  numBands_ = dataset->GetRasterCount();
  idle_.push_back(std::move(dataset));
  return true;
}

GdalFile::Dataset GdalFile::Borrow() {
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
  const bool isSame = dataset && dataset->GetRasterXSize() == width_ && dataset->GetRasterYSize() == height_ &&
                      dataset->GetRasterCount() == numBands_;
  return isSame ? std::move(dataset) : nullptr;
}

void GdalFile::GiveBack(Dataset dataset) {
  const std::lock_guard lock(mutex_);
  idle_.push_back(std::move(dataset));
}

/// What all blocks of a read need is set once, because setting it takes as long as reading a small block.
struct GdalFile::Loan::Scope : DriverScope {
  using DriverScope::DriverScope;
};

GdalFile::Loan::Loan(GdalFile& file)
    : file_(file), scope_(std::make_unique<Scope>(file.format_, file.path_)), dataset_(file.Borrow().release()) {
  if (!dataset_) NoteReadError("The file is another one than it was when it was opened, or is gone");
}

/// A handle that finds no room in the list is closed, and so is one that may have kept zeros for what it did not get.
GdalFile::Loan::~Loan() {
  if (!dataset_) return;
  Dataset dataset(dataset_);
  if (!isSound_ || !scope_->GetLastError().IsEmpty()) return;
  try {
    file_.GiveBack(std::move(dataset));
  } catch (const std::bad_alloc&) {
  }
}

GDALRasterBand* GdalFile::Loan::GetBand(int number) const {
  return dataset_->GetRasterBand(number + 1);
}

XString GdalFile::Loan::GetComplaint() const {
  return scope_->GetLastError();
}

bool GdalFile::Loan::ReadBlock(GDALRasterBand* band, int blockX, int blockY, void* out, bool& isCut) {
  const WatchedReads reads;
  const bool isRead = band && band->ReadBlock(blockX, blockY, out) == CE_None;
  isCut = file_.format_.readsAhead ? reads.HaveFailed() : reads.WereCut();
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

#pragma once

#include "XString.h"

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

class GDALDataset;
class GDALRasterBand;

namespace zrk {

/// How files of a format are opened: by one driver and no other.
struct GdalFormat {
  const char* driver;
  void (*registerDrivers)();  ///< makes the driver known to GDAL, and those that it hands parts of its files to
  const char* notOpened;      ///< the reason where GDAL tells none
  /// Decoders ask for more bytes than a block has, so that the end of the file says nothing of the block.
  bool readsAhead = false;
  /// What GDAL's switches are while it works for this format, as "NAME=VALUE"; null ends the list. All others have
  /// their first values, whatever the program has set for its thread.
  const char* const* switches = nullptr;
};

/// A file that GDAL reads through our own disk. Any number of threads may borrow a handle of their own; handles that
/// come back are lent again. GDAL's cache of blocks has no part in it. Notes that other programs have left beside the
/// file are not looked at, and files that it names have to lie beneath its folder.
class GdalFile {
 public:
  /// With `isExact` opening fails where the disk does not give all that the file has; GDAL would go on with zeros.
  GdalFile(const GdalFormat& format, XString path, bool isExact);
  ~GdalFile();
  GdalFile(const GdalFile&) = delete;
  GdalFile& operator=(const GdalFile&) = delete;

  /// Opens the file and takes out of the dataset what reads need to know. False with the reason where the file can't be
  /// opened, and where `describe` answers false.
  bool Open(const std::function<bool(GDALDataset& dataset, XString& reason)>& describe, XString& reason);

  /// A handle that one read has alone. False where the file can't be opened again as it was.
  class Loan {
   public:
    explicit Loan(GdalFile& file);
    ~Loan();
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;
    explicit operator bool() const { return dataset_ != nullptr; }
    /// Band `number`, counted from 0; null where the dataset has none.
    GDALRasterBand* GetBand(int number) const;
    /// A block of a band of this handle, in the band's own type. `out` holds a whole block. `isCut` tells that the file
    /// or the disk did not give all of its bytes; GDAL takes those of plain blocks for 0. Notes the reason where the
    /// result is false.
    bool ReadBlock(GDALRasterBand* band, int blockX, int blockY, void* out, bool& isCut);
    /// What GDAL has complained of during this loan; empty where it had no complaint.
    XString GetComplaint() const;

   private:
    struct Scope;

    GdalFile& file_;
    std::unique_ptr<Scope> scope_;
    GDALDataset* dataset_;
    bool isSound_ = true;  // what a read has left in the handle can be used again
  };

 private:
  struct Close {
    void operator()(GDALDataset* dataset) const;
  };
  using Dataset = std::unique_ptr<GDALDataset, Close>;

  Dataset OpenDataset(XString& reason) const;
  Dataset Borrow();
  void GiveBack(Dataset dataset);

  const GdalFormat& format_;
  XString path_;
  bool isExact_;
  int width_ = 0, height_ = 0, numBands_ = 0;
  std::mutex mutex_;
  std::vector<Dataset> idle_;
};

}  // namespace zrk

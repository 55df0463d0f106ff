#pragma once

#include "tagGCPSets.h"
#include "tagXMetadataItem.h"
#include "tagXRadarScene.h"
#include "XFile.h"
#include "XObject.h"
#include "XReadPolicy.h"
#include "XROI.h"
#include "XRSSIG.h"
#include "XSpatialReference.h"
#include "XString.h"
#include "ZRMBand.h"
#include "ZRMVand.h"

#include <memory>
#include <utility>
#include <vector>

class XThread;

namespace zrk {
struct FieldAccess;
struct FileStatus;
}  // namespace zrk

/// One opened dataset: its bands, vector sets and all that is stored about it as a whole.
///
/// The dataset owns what is added to it and deletes it with itself, followers before their master, and all bands before
/// the file. Every object that is added has to come from `new`, and is added to one dataset only. Getters hand out
/// pointers that stay the dataset's and are valid as long as it. A new dataset is empty.
///
/// One thread fills, changes and destroys it. After that many threads may call the getters and read its bands at once.
/// Where memory runs out, what was to be added is deleted and `std::bad_alloc` is raised.
class ZRKIO_API XRSFile : public XObject {
  X_DECLARE_RUNTIME_CLASS
  XRSFile();
  ~XRSFile() override;
  XRSFile(const XRSFile&) = delete;
  XRSFile& operator=(const XRSFile&) = delete;

  /// How bands that are loaded into the dataset read; that of `XfnSetDefaultReadPolicy` at first.
  XReadPolicy GetReadPolicy() const { return readPolicy_; }
  /// Set it before loading: bands that are there keep theirs.
  void SetReadPolicy(XReadPolicy policy) { readPolicy_ = policy; }

  /// The open file, or null. Most bands open their files themselves; bands of native rasters read this one.
  XFile* GetFilePtr() const { return file_; }
  /// Attaches an open file in place of an earlier one; null detaches it. With a nonzero `owns` the dataset closes and
  /// deletes the file. With 0 the file stays the caller's and has to outlive the bands.
  void SetFile(XFile* file, int owns);

  /// What is known of a radar acquisition; null for other images.
  tagXRadarScene* GetRadarScene() const { return radarScene_.get(); }
  /// Takes the record over and deletes the one before. Null removes it.
  void SetRadarScene(tagXRadarScene* radarScene) {
    if (radarScene_.get() != radarScene) radarScene_.reset(radarScene);
  }

  /// Loaders store the full path in both.
  const XString& GetName() const { return name_; }
  /// Any text. The name stands in for the path of a dataset without one.
  void SetName(const XString& name) { name_ = name; }
  /// The path of the open file if there is one, otherwise the path stored. The name is its part behind the last folder,
  /// the title is the name without its extension.
  XString GetFilePath() const;
  void SetFilePath(const XString& filePath) { filePath_ = filePath; }
  XString GetFileName() const;
  XString GetFileTitle() const;

  /// A number that native files keep; 0 at first. Nothing here interprets it.
  int GetVersion() const { return version_; }
  void SetVersion(int version) { version_ = version; }

  /// Takes the band over, becomes its owner and appends it. Null is ignored. A master has to be added before its
  /// followers.
  void AddBand(ZRMBand* band);
  /// The number of bands; 0 for a dataset that holds vector sets only.
  int GetNumOfBands() const { return static_cast<int>(bands_.size()); }
  /// The band, from 0 on, in the order of the calls of `AddBand`. Returns null for an index outside the list.
  ZRMBand* GetBandAt(int index) const;

  /// Takes the vector set over, becomes its owner and appends it. Null is ignored.
  void AddVand(ZRMVand* vand);
  /// The number of vector sets; 0 for a raster dataset.
  int GetNumOfVands() const { return static_cast<int>(vands_.size()); }
  /// The vector set, from 0 on; null for an index outside the list.
  ZRMVand* GetVandAt(int index) const;

  /// Regions. `Add...` takes the record over, which has to come from `new`; null is ignored. `Get...At` gives null for
  /// an index outside the list, and the record stays the dataset's. The same holds for the two lists behind.
  void AddROISet(XROI* roi);
  int GetNumOfROI() const { return static_cast<int>(rois_.size()); }
  XROI* GetROIAt(int index) const;
  /// Sets of control points, as with regions.
  void AddGCPSet(tagGCPSets* gcps);
  int GetNumOfGCPSet() const { return static_cast<int>(gcpSets_.size()); }
  /// Returns null for an index outside the list.
  tagGCPSets* GetGCPSetAt(int index) const;
  /// Spectral signatures, as with regions.
  void AddSIGSet(XRSSIG* sig);
  int GetNumOfSIG() const { return static_cast<int>(sigs_.size()); }
  XRSSIG* GetSIGAt(int index) const;

  /// A number of the file's own; 0 at first. Native files keep it, and nothing here interprets it.
  int GetThreshold1() const { return threshold1_; }
  void SetThreshold1(int threshold1) { threshold1_ = threshold1; }

  /// A square matrix of the number of bands at the time it was set, row by row; null until it is set. The array belongs
  /// to the dataset and is valid until it is set again.
  double* GetCorrelationMatrix() { return correlationMatrix_.empty() ? nullptr : correlationMatrix_.data(); }
  /// The same for covariances.
  double* GetCovarianceMatrix() { return covarianceMatrix_.empty() ? nullptr : covarianceMatrix_.data(); }
  /// Copies `numBands` * `numBands` values. Null, and a number that is not positive, remove the matrix. The caller sees
  /// to it that `numBands` is the number of bands: another number is kept but not saved.
  void SetCorrelationMatrix(const double* values, int numBands);
  /// As the one above, for covariances.
  void SetCovarianceMatrix(const double* values, int numBands);
  /// Whether the correlation matrix is set and its first element is not `kNotSet`. It says nothing of the statistics of
  /// single bands.
  bool HasValidStatistics() const;

  /// Free text about the dataset; empty at first.
  const XString& GetDescription() const { return description_; }
  void SetDescription(const XString& description) { description_ = description; }
  /// The texts that came with the file, in its order; writers of formats that have room for such texts keep them.
  const std::vector<tagXMetadataItem>& GetMetadata() const { return metadata_; }
  void AddMetadata(tagXMetadataItem item) { metadata_.push_back(std::move(item)); }
  /// Two fields that native files keep for other modules; nothing here looks at them.
  int GetAttatchFlag() const { return attatchFlag_; }
  void SetAttatchFlag(int attatchFlag) { attatchFlag_ = attatchFlag; }
  const XString& GetCryptoVaildationInfo() const { return cryptoVaildationInfo_; }
  void SetCryptoVaildationInfo(const XString& info) { cryptoVaildationInfo_ = info; }

  // Of the first band. Without bands the rectangle is left as it was, pixel sizes are 1.0 and the system is null.

  /// The outer edges in world units.
  void GetBoundRect(double& west, double& east, double& south, double& north) const;
  /// World units per pixel.
  double GetXPixelSize() const;
  double GetYPixelSize() const;
  /// The band's own record, not a copy: a change of it changes the band. It is empty for an unknown system.
  XSpatialReference* GetSR() const;

  // Both return 1, or 0 with a sentence in `err`, and then the dataset stays as it was. They fail if a file or text
  // can't be read, exceeds the limits of `XLimits.h`, or contradicts itself. `thread` may be null.

  /// Reads a native raster file into a dataset without bands, which then owns the open file; name and path become
  /// `path`.
  int LoadFileZRM(XString path, XString& err, XThread* thread);
  /// Fills the dataset from the XML text that native and level files end in.
  ///
  /// A dataset without bands gets them from the text; they read from the file that is attached, and without one they
  /// serve no read. A dataset that has bands keeps them, and the text has to fit them: as many, each of the size of the
  /// first and the type of the last. It sets their statistics, their system, and how they were taken. It never changes
  /// the fields that reads depend on: name, type, size, tiles and georeference. The lists and records that the text has
  /// replace those of the dataset.
  int LoadStringZRM(XString xml, XString& err, XThread* thread);

 private:
  friend struct zrk::FieldAccess;

  XReadPolicy readPolicy_ = XfnGetDefaultReadPolicy();
  XFile* file_ = nullptr;
  std::unique_ptr<XFile> ownedFile_;
  std::unique_ptr<tagXRadarScene> radarScene_;
  XString name_;
  XString filePath_;
  std::shared_ptr<const zrk::FileStatus> openedStatus_;  // of the file when it was opened, or null
  int version_ = 0;
  std::vector<std::unique_ptr<ZRMBand>> bands_;
  std::vector<std::unique_ptr<ZRMVand>> vands_;
  std::vector<std::unique_ptr<XROI>> rois_;
  std::vector<std::unique_ptr<tagGCPSets>> gcpSets_;
  std::vector<std::unique_ptr<XRSSIG>> sigs_;
  int threshold1_ = 0;
  std::vector<double> correlationMatrix_;
  std::vector<double> covarianceMatrix_;
  XString description_;
  std::vector<tagXMetadataItem> metadata_;
  int attatchFlag_ = 0;
  XString cryptoVaildationInfo_;
};

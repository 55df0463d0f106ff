#pragma once

#include "base/NewFile.h"
#include "core/level/PyramidBuild.h"
#include "core/xld/ImageStamp.h"
#include "math/Fingerprint.h"
#include "ZRMBandEPOT.h"

#include <memory>
#include <optional>
#include <vector>

class XRSFile;

namespace zrk {

/// One build of a level file, from its head to the name that it gets. For one thread.
class LevelBuild {
 public:
  /// All of these have to outlive the build; the thread may be null.
  LevelBuild(XRSFile& dataset, XThread* thread, XString& err) : dataset_(dataset), thread_(thread), err_(err) {}

  /// Builds the file, with pyramids where the dataset has levels and that is wanted. False with the reason in the
  /// caller's text, or without one where the thread was stopped or the bands are not alike.
  bool Run(const XString& path, bool wantsPyramids);
  bool WasStopped() const { return wasStopped_; }

 private:
  bool Write(bool wantsPyramids);
  bool WritePixels(bool isFull);
  bool StampImage();
  bool MeasureBands();
  bool MeasureBand(int index);
  bool BuildPyramids();
  void PlanExtras(PyramidJob& job);
  Fingerprint* FindFingerprintOf(ZRMBand& band);
  bool PlanPyramid(int index, PyramidJob& job);
  XString MakeText(int compression);
  bool ReportStep(int step);
  bool Check(PyramidResult result);
  bool Fail(const char* sentence);

  XRSFile& dataset_;
  XThread* thread_;
  XString& err_;
  NewFile output_;
  std::vector<std::unique_ptr<ZRMBandEPOT>> records_;  // of each band, the store and what was measured
  std::optional<FileStatus> watched_;                  // of the image before it is read, where the dataset has a file
  std::optional<Fingerprint> fingerprint_;             // of the watched image
  ImageStamp stamp_;
  std::int64_t end_ = 0;  // of what is written, in bytes
  bool wasStopped_ = false;
};

}  // namespace zrk

#pragma once

#include "Samples.h"
#include "TempFolder.h"
#include "XReadPolicy.h"
#include "XRSFileIO.h"

#include <string>
#include <vector>

/// A file of its own folder, opened through the router.
template <class Band>
class OpenRaster {
 public:
  OpenRaster(const std::vector<unsigned char>& bytes, const char* name, int formatId,
             XReadPolicy policy = kReadCompatible)
      : path_(folder_.Path(name)) {
    folder_.Write(name, bytes);
    file_.SetReadPolicy(policy);
    isOpen_ = XRSFileIO::LoadFileRaster(&file_, formatId, path_, err_, 1, kLevelNone, nullptr);
  }

  int IsOpen() const { return isOpen_; }
  std::string Error() const { return err_.AsStdString(); }
  const std::string& FilePath() const { return path_; }
  XRSFile& File() { return file_; }
  Band& BandAt(int channel = 0) { return static_cast<Band&>(*file_.GetBandAt(channel)); }
  Window Whole() { return WholeWindowOf(BandAt()); }

  Pixels Read(int level, const Window& window, int channel = 0) { return ReadPixels(BandAt(channel), level, window); }
  /// Why a read fails; empty where it does not.
  std::string Failure(int level, const Window& window, int channel = 0) {
    if (!Read(level, window, channel).bytes.empty()) return {};
    XString reason;
    return XfnGetLastReadError(reason) ? reason.AsStdString() : "no reason";
  }

 private:
  TempFolder folder_;
  std::string path_;
  XRSFile file_;
  XString err_;
  int isOpen_ = 0;
};

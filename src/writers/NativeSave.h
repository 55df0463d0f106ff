#pragma once

#include "base/NewFile.h"
#include "base/Window.h"
#include "core/level/PyramidBuild.h"
#include "writers/OutputPath.h"
#include "XRSFileSaver.h"

#include <ctime>
#include <string>
#include <vector>

class XRSFile;

namespace zrk {

struct BandBody;

/// What is saved, and where and how.
struct NativeRequest {
  XRSFile* dataset = nullptr;
  XString path;
  Window window;
  int level = 0;
  int mode = 0;
  double maxError = 0.0;
  XThread* thread = nullptr;
  XString cryptoVaildationInfo;
  int firstFlag = 0;
  int secondFlag = 1;
};

/// One save of a native raster file, from its checks to the name that it gets. For one thread.
class NativeSave {
 public:
  /// Both have to outlive the save.
  NativeSave(const NativeRequest& request, XString& err) : request_(request), err_(err) {}

  // The ways to save. Each answers 1 or 0, with the reason in the caller's text, and tells the thread how it ended. A
  // stop, an empty path and a missing dataset have no reason.

  /// Band by band.
  int SaveBands();
  /// Band by band, compressed.
  int SaveCompressed();
  /// The outputs of a sharpening, which are computed together.
  int SaveSharpened();

  /// What compressing took.
  std::clock_t GetTicks() const { return ticks_; }

 private:
  using Step = bool (NativeSave::*)();

  int Run(Step check, Step writeBands);
  bool HasSource();
  bool Begin();
  bool HasWindow() const;
  bool AreSharpened();
  bool WriteBands();
  bool WriteCompressedBands();
  bool WriteSharpenedBands();
  void RecordBand(ZRMBand& band, const BandBody& body);
  bool Finish();
  bool Check(PyramidResult result);
  bool Fail(const char* sentence);

  const NativeRequest& request_;
  XString& err_;
  std::vector<ZRMBand*> bands_;
  ReplacedImage replaced_;
  NewFile output_;
  XRSFileSaver saver_;
  std::clock_t ticks_ = 0;
  bool wasStopped_ = false;
};

}  // namespace zrk

#include "XRSFile2XLD.h"

#include "base/Failure.h"
#include "base/Fence.h"
#include "base/ThreadResult.h"
#include "core/xld/LevelBuild.h"
#include "XRSFile.h"

namespace {

// Modes in which the full form is built. The first of them comes from a caller whose operator was asked.
constexpr int kFullIfAllowed = 2;
constexpr int kFull = 3;

}  // namespace

XRSFile2XLD::XRSFile2XLD() = default;
XRSFile2XLD::~XRSFile2XLD() = default;

void XRSFile2XLD::SetXRSFile(XRSFile* file) {
  if (file) file_ = file;
}

int XRSFile2XLD::Save(XString path, XString& err, int mode, XThread* thread) {
  bool wasStopped = false;
  // What is thrown becomes a sentence here, and the unfinished file goes away with the build.
  const int isDone = zrk::Fenced(err, [&]() -> int {
    if (path.IsEmpty() || !file_) return 0;
    if (!file_->GetBandAt(0)) return zrk::FailWith(err, "No Band found");
    zrk::LevelBuild build(*file_, thread, err);
    const bool isBuilt = build.Run(path, mode == kFullIfAllowed || mode == kFull);
    wasStopped = build.WasStopped();
    return isBuilt;
  });
  return zrk::TellResult(thread, isDone, wasStopped, err);
}

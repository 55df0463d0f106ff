// The one shape of all loaders of vectors: a new set is made, prepared, loaded and finished, and goes into the dataset
// only then. A load that fails leaves the dataset as it was.

#include "core/load/VectorLoad.h"

#include "base/Fence.h"
#include "core/load/Outcome.h"
#include "XRSFile.h"

#include <memory>
#include <new>

namespace zrk {

/// Answers null where memory runs out, for which the loader has a sentence of its own.
ZRMVand* NewVand() {
  return new (std::nothrow) ZRMVand;
}

int LoadVector(const VectorCall& call, const VectorSteps& steps, VandMaker makeVand) {
  if (!call.file) {
    call.err = kNotValidFile;
    return 0;
  }
  return Fenced(call.err, [&] {
    std::unique_ptr<ZRMVand> vand(makeVand());
    if (!vand) {
      call.err = "Unable to call new ZRMVand()";
      return 0;
    }
    steps.beforeLoad(*vand);
    if (!steps.load(*vand)) return 0;
    // A system that is set now replaces whatever the load has left.
    steps.afterLoad(*vand);
    call.file->AddVand(vand.release());
    call.file->SetName(call.path);
    call.file->SetFilePath(call.path);
    return 1;
  });
}

}  // namespace zrk

#include "ZRMBandComplex.h"

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandComplex, ZRMBand);

ZRMBandComplex::ZRMBandComplex(ZRMBand* inner) : inner_(inner) {
  // The call names its class, because a constructor reaches no override of a class derived from this one.
  ZRMBand::CloneBand(inner);
  SetShownBand(inner);
  SetLevelSource(inner ? inner->GetLevelSource() : nullptr);
}

ZRMBandComplex::~ZRMBandComplex() = default;

int ZRMBandComplex::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) {
  return inner_ ? inner_->ReadSubset(out, level, x0, x1, y0, y1, cancel) : 0;
}

/// The free memory is looked at once, here. The inner band is then told to free its buffers in any case.
int ZRMBandComplex::CleanupMemory(int freeBuffers, int force) {
  if (inner_ && freeBuffers && IsMemoryWanted(force)) inner_->CleanupMemory(1, 1);
  return 1;
}

#include "ZRMBandComplex.h"

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandComplex, ZRMBand);

ZRMBandComplex::ZRMBandComplex(ZRMBand* inner) : inner_(inner) {
  ZRMBand::CloneBand(inner);
  SetShownBand(inner);
  SetLevelSource(inner ? inner->GetLevelSource() : nullptr);
}

ZRMBandComplex::~ZRMBandComplex() = default;

int ZRMBandComplex::ReadSubset(tagXArr2*& out, int level, int x0, int x1, int y0, int y1, int* cancel) {
  return inner_ ? inner_->ReadSubset(out, level, x0, x1, y0, y1, cancel) : 0;
}

int ZRMBandComplex::CleanupMemory(int freeBuffers, int force) {
  if (inner_ && freeBuffers && IsMemoryWanted(force)) inner_->CleanupMemory(1, 1);
  return 1;
}

#include "ZRMBandXLD.h"

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandXLD, ZRMBand);

ZRMBandXLD::ZRMBandXLD() = default;
ZRMBandXLD::~ZRMBandXLD() = default;

int ZRMBandXLD::ReadSubset(tagXArr2*&, int, int, int, int, int, int*) {
  return 0;
}

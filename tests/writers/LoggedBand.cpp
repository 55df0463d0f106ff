#include "LoggedBand.h"

X_IMPLEMENT_RUNTIME_CLASS(ZRMBandImageSharpen, ZRMBand);

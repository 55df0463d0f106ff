#pragma once

#include "bands/hfa/HfaFile.h"

class GDALDataset;

namespace zrk {

/// Takes out of GDAL's dataset what reads need to know. False with the reason for a file without pixels, and for one
/// that asks for more than the limits allow. To be called in the scope of the file.
bool DescribeHfa(GDALDataset& dataset, HfaLayout& layout, XString& reason);

/// The reason for a file that holds nothing.
inline constexpr const char* kHfaIsEmpty = "Invalid ERDAS Imagine File";

}  // namespace zrk

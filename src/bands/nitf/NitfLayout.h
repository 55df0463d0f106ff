#pragma once

#include "bands/nitf/NitfFile.h"

class GDALDataset;

namespace zrk {

/// Takes out of GDAL's dataset what reads need to know. False with the reason for a dataset without pixels, and for one
/// beyond the limits. To be called in the scope of the file.
bool DescribeNitf(GDALDataset& dataset, NitfLayout& layout, XString& reason);

/// The corners of the image as longitude and latitude: upper left, upper right, lower right, lower left. They are the
/// centres of the corner pixels, as the file tells them or as its place puts them. Empty where the file tells no place,
/// or one from which no way leads to longitude and latitude.
std::optional<std::array<double, 8>> FindNitfCorners(const NitfLayout& layout);

}  // namespace zrk

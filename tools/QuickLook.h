#pragma once

#include "PngWriter.h"
#include "XThread.h"
#include "ZRMBand.h"

#include <string>
#include <vector>

/// A picture of one band (grey) or three (red, green, blue) of one size, no longer than `maxSize` either way and never
/// enlarged. Pixels are means over the area that they stand for, taken at the level that has enough of them. Bands
/// wider than 8 bits, and signed ones, are stretched: mean minus and plus two deviations, cut to minimum and maximum,
/// become 0 and 255. Where there are null samples only, the picture is black. False with the reason in `err`.
bool MakeQuickLook(const std::vector<ZRMBand*>& bands, int maxSize, XThread* thread, PngImage& image, std::string& err);

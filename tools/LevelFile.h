#pragma once

#include "Window.h"
#include "XRSFile.h"
#include "ZRMBandXLD.h"

#include <string>

/// What stands in the level file that a dataset reads from.
enum class LevelFileKind { kNone, kShort, kFull };

LevelFileKind GetLevelFileKind(const XRSFile& file);

/// The name of the level file that belongs to a raster.
std::string LevelFileName(const std::string& path);

/// The level data that serves the band's reduced levels, or null where no level file is attached, or one that holds
/// statistics only.
ZRMBandXLD* FindLevelBand(ZRMBand& band);

/// Takes the level file away from the dataset, which then reads all pixels from the image itself.
void DetachLevelFile(XRSFile& file);

/// The coarsest level that has a pixel for each of `width` by `height` that the window of the band is drawn on: of its
/// level data, also where its format has no levels, or its own.
int FindLevelFor(ZRMBand& band, const Window& window, int width, int height);

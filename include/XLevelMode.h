#pragma once

/// What to do about level data where a raster has none that can be used.
enum XLevelMode { kLevelNone = 0, kLevelStatistics = 1, kLevelAsk = 2, kLevelBuild = 3 };

#pragma once

/// What to do about level data where a raster has none that can be used. `kLevelNone` does without. `kLevelStatistics`
/// makes a level file with statistics only. `kLevelAsk` asks the operator by a message box, and builds all levels
/// unless he says No. `kLevelBuild` builds them without a question. A level file lies beside the image, so that the
/// folder has to be writable for the last three. Level data that can be used is attached in every mode.
enum XLevelMode { kLevelNone = 0, kLevelStatistics = 1, kLevelAsk = 2, kLevelBuild = 3 };

/// What a load in the exact policy leaves in `err`, though it succeeds, where the level file belongs to other bytes
/// than the image has now, or its levels are means of class numbers. Such a file is not attached. The compatible policy
/// attaches it as long as the sizes fit.
inline constexpr const char* kLevelFileIsStale = "The level file is older than its image and isn't used";

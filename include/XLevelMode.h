#pragma once

/// What to do about level data where a raster has none that can be used. `kLevelNone` does without. `kLevelStatistics`
/// makes a level file with statistics only. `kLevelAsk` asks the operator by a message box, and builds all levels
/// unless he says No. `kLevelBuild` builds them without a question. A level file lies beside the image, so that the
/// folder has to be writable for the last three. Level data that can be used is attached in every mode.
enum XLevelMode { kLevelNone = 0, kLevelStatistics = 1, kLevelAsk = 2, kLevelBuild = 3 };

/// What a load in the exact policy leaves in `err`, though it succeeds, where it does not attach a level file: the file
/// belongs to other bytes than the image has now, or its levels are means of class numbers. The compatible policy
/// attaches such a file as long as the sizes fit.
inline constexpr const char* kLevelFileIsStale = "The level file is older than its image and isn't used";
inline constexpr const char* kLevelFileHasMeans = "The level file has means of class numbers and isn't used";

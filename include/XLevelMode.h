#pragma once

/// What to do about level data where a raster has none that can be used. `kLevelNone` does without. `kLevelStatistics`
/// makes a level file with statistics only. `kLevelAsk` asks the operator by a message box, and builds all levels
/// unless he says No. `kLevelBuild` builds them without a question. A level file lies beside the image, so that the
/// folder has to be writable for the last three. Level data that can be used is attached in every mode.
enum XLevelMode { kLevelNone = 0, kLevelStatistics = 1, kLevelAsk = 2, kLevelBuild = 3 };

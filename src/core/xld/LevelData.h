#pragma once

#include "XString.h"

class XRSFile;
class XSpatialReference;
class XThread;

// The level data of a dataset, as `XRSFileIO` offers it to callers; see there for what each does and answers.

namespace zrk {

/// The name of the level file that belongs to a raster.
XString LevelFileNameOf(const XString& path);

int CheckLevelData(XRSFile& dataset, const XString& path, XString& err);
int CreateLevelData(XRSFile& dataset, const XString& path, XString& err, int levelMode, XThread* thread);
int LoadLevelData(XRSFile& dataset, const XString& path, XString& err, int levelMode, XThread* thread);
int UpdateLevelSystem(XRSFile& dataset, const XSpatialReference& sr, XString& err);
bool HasLevelData(XRSFile& dataset);

}  // namespace zrk

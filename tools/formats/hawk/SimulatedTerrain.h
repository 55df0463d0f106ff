#pragma once

#include "formats/hawk/HawkActions.h"
#include "XRSFile.h"
#include "XThread.h"

#include <memory>
#include <string>

/// Whether the text names a terrain that a formula makes: "flat:METRES", "slope" or "hills".
bool IsTerrainFormula(const std::string& text);

/// The terrain of a formula around the target, in metres, as a dataset of one band.
std::unique_ptr<XRSFile> MakeTerrain(const HawkOptions& options);

/// The height of a dataset's first band at a place; 0 outside it.
double HeightAt(const XRSFile& heights, double lon, double lat);

#pragma once

#include "Json.h"

class ZRMBand;

/// Adds to `json` how the pixels of a TIFF file lie in it: the blocks, their compression and the samples; with
/// `isVerbose` also the images that follow the first one, and libtiff's last message. Nothing for other bands.
void AddTiffFields(Json& json, const ZRMBand& band, bool isVerbose);

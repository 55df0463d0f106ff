#pragma once

#include "XRSFile.h"
#include "XThread.h"

#include <memory>
#include <string>

/// Opens a file by its extension or its first bytes, raster or vector, with its level file where that is there; null
/// with the reason in `err`, which may be empty where the library knew none.
std::unique_ptr<XRSFile> OpenDataset(const std::string& path, XThread& thread, std::string& err);

/// As above for a raster with at least one channel.
std::unique_ptr<XRSFile> OpenRaster(const std::string& path, XThread& thread, std::string& err);

/// The band of a number that counts from 1, or null with the reason in `err`.
ZRMBand* FindBand(const XRSFile& file, int number, std::string& err);

/// Decodes what the band's format can only decode as a whole, and keep, so that the work is seen and can be stopped;
/// reads of all bands of the file are quick afterwards. Takes the percentages up to `lastPercent` and leaves the rest
/// to what follows.
bool DecodeAhead(ZRMBand& band, int lastPercent, XThread& thread, std::string& err);

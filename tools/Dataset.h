#pragma once

#include "XRSFile.h"
#include "XThread.h"

#include <memory>
#include <string>

/// Opens a file by its extension, raster or vector, without level data; null with the reason in `err`, which may be
/// empty where the library knew none.
std::unique_ptr<XRSFile> OpenDataset(const std::string& path, XThread& thread, std::string& err);

/// As above for a raster with at least one channel.
std::unique_ptr<XRSFile> OpenRaster(const std::string& path, XThread& thread, std::string& err);

/// The band of a number that counts from 1, or null with the reason in `err`.
ZRMBand* FindBand(const XRSFile& file, int number, std::string& err);

/// Decodes what the file's format can only decode as a whole, and keep, so that the work is seen and can be stopped;
/// reads of the bands are quick afterwards. Takes the first part of the thread's percentages and leaves the rest to
/// what follows.
bool DecodeAhead(XRSFile& file, XThread& thread, std::string& err);

/// Whether each read of the band decodes the whole file anew, so that it should be read at once.
bool IsDecodedByEachRead(ZRMBand& band);

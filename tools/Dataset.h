#pragma once

#include "XRSFile.h"
#include "XThread.h"

#include <memory>
#include <string>

/// Opens a raster or a vector file by its extension or its first bytes, with its level file if it has one. Returns null
/// with the reason in `err`, which is empty where the library knew none.
std::unique_ptr<XRSFile> OpenDataset(const std::string& path, XThread& thread, std::string& err);

/// As above for a raster with at least one channel.
std::unique_ptr<XRSFile> OpenRaster(const std::string& path, XThread& thread, std::string& err);

/// The band of a number that counts from 1, or null with the reason in `err`.
ZRMBand* FindBand(const XRSFile& file, int number, std::string& err);

/// Why a read of this thread has failed since `XfnForgetLastReadError`, or the sentence given where none has.
std::string WhyNotRead(const std::string& otherwise = "the pixels can't be read");

/// Decodes an image that its format decodes as a whole and keeps, so that the work is seen and can be stopped. Reads of
/// all bands of the file are quick afterwards. Takes the percentages up to `lastPercent` and leaves the rest to the
/// work that follows.
bool DecodeAhead(ZRMBand& band, int lastPercent, XThread& thread, std::string& err);

#pragma once

#include "XRSFile.h"
#include "XThread.h"

#include <memory>
#include <string>

/// How the program reports that a file's job failed, on stderr.
void PrintFailure(const std::string& path, const std::string& reason);

/// Opens a file by its extension, raster or vector, without level data; null with the reason in `err`, which is never
/// empty then.
std::unique_ptr<XRSFile> OpenDataset(const std::string& path, bool withStatistics, XThread* thread, std::string& err);

/// As above for a raster with at least one channel.
std::unique_ptr<XRSFile> OpenRaster(const std::string& path, XThread* thread, std::string& err);

/// The reason for the operator, where the library had none.
std::string ReasonOr(const XString& err, const char* otherwise);

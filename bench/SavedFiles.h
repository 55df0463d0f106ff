#pragma once

#include <gdal_priv.h>
#include <memory>
#include <string>

// Files that were saved, as GDAL reads them.

using GdalSource = std::unique_ptr<GDALDataset, void (*)(GDALDataset*)>;
GdalSource OpenByGdal(const std::string& path);

/// Ends the program where the two have different pixels. GDAL reads both files, so that our own reader can't hide an
/// error of our writer.
void MustAgree(const std::string& one, const std::string& other);

/// Brings a file to the medium, so that the system has nothing of it left to do while others are timed.
void WaitForDisk(const std::string& path);

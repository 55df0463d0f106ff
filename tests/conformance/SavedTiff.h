#pragma once

#include "XRSFile.h"

#include <string>
#include <vector>

// TIFF files that the library wrote, as others read them.

/// Saves all of a dataset; the error text, or "" for success.
std::string SaveAll(XRSFile& file, const std::string& path);

/// A sample that is to be read back: GDAL's data type and the bytes, row by row.
struct WrittenBand {
  int gdalType = 0;
  std::vector<unsigned char> bytes;
};

/// The bands of a dataset, read by the library itself at full resolution.
std::vector<WrittenBand> ReadBands(XRSFile& file);

/// What of a dataset's system has to be in the file: all of it, or its EPSG code, where it isn't what the code says.
enum class SystemCheck { kWhole, kCode };

/// Fails where GDAL complains of the file, or finds other samples in it, or another place or system than the dataset
/// has.
void ExpectGdalReads(const std::string& path, const std::vector<WrittenBand>& bands, XRSFile& source,
                     SystemCheck check = SystemCheck::kWhole);

/// What a program has to say of files on its standard error; a line more where it fails. Lines are left out that say
/// no more than that tags of GeoTIFF are not known to it.
std::string AskProgram(const std::string& program, const std::vector<std::string>& paths);

#pragma once

#include "XFile.h"
#include "XRSFile.h"
#include "XRSFileSaver.h"

#include <memory>
#include <string>
#include <vector>

// Datasets with a telling value in every field, all they hold as text, and the calls that write them.

/// Every byte once.
XString AllBytes();

/// Sets every field of a band that metadata keep; no two numbers are alike within a band or between two seeds, and the
/// doubles take in what is hard to print.
void FillBand(ZRMBand& band, int seed);
void FillDataset(XRSFile& dataset, int seed);

using Description = std::vector<std::string>;

/// What a band is: id, name, kind, null value, place in the world.
Description DescribeIdentity(ZRMBand& band);
/// What is known of how it was taken, and its statistics.
Description DescribeAcquisition(ZRMBand& band);
Description DescribeDataset(XRSFile& dataset);

/// Writes all groups of a band, as for its whole extent.
void WriteBand(XRSFileSaver& saver, ZRMBand& band);
/// Writes all groups of the dataset.
void WriteDataset(XRSFileSaver& saver, XRSFile& dataset);
/// The text of a level file of a dataset.
XString LevelText(XRSFile& dataset);

/// Adds a band of a size and type to a dataset.
ZRMBand& AddPlainBand(XRSFile& dataset, int xSize, int ySize, int dataType);

/// Writes a native raster file of bands of bytes, 20 x 10 in tiles of 16 x 16, one level, with all fields filled. The
/// sample of band i at x, y is i * 100 + x + y.
void WriteNativeFile(const std::string& path, int numBands, bool withAllFields);

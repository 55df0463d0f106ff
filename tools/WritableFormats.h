#pragma once

#include "tagXFormat.h"

#include <string>

// The formats that have a writer, and how they are named to people.

/// The format that the extension of a file to be written tells; null where that has no writer.
const tagXFormat* FindWritableFormat(const std::string& path);

/// As "native rasters (.zrm) and TIFF files (.tif, .tiff)"; with `takes` those only whose writers do.
std::string ListWritableFormats(bool tagXFormatWriter::*takes = nullptr);
/// As "Native rasters", the beginning of a line about those whose writers do.
std::string TitleWritableFormats(bool tagXFormatWriter::*takes);
/// As "a native raster or a TIFF file".
std::string NameWritableFiles();
/// As "zrm, or tif or tiff".
std::string ListWritableExtensions();

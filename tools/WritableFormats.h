#pragma once

#include "tagXFormat.h"

#include <string>

// The formats that have a writer, and how they are named to people.

/// The format that the extension of a new file tells. Returns null where that format has no writer.
const tagXFormat* FindWritableFormat(const std::string& path);

/// As "native rasters (.zrm) and TIFF files (.tif, .tiff)". With `takes`, only formats whose writers take it.
std::string ListWritableFormats(bool tagXFormatWriter::*takes = nullptr);
/// As "Native rasters", the beginning of a line about formats whose writers take it.
std::string TitleWritableFormats(bool tagXFormatWriter::*takes);
/// As "a native raster or a TIFF file".
std::string NameWritableFiles();
/// As "zrm, or tif or tiff".
std::string ListWritableExtensions();

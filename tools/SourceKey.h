#pragma once

#include <string>

class XRSFile;

/// What the pixels of an open image come from, in words that change where the pixels or their place do: its files with
/// their lengths and times, and its bands with types, places, systems, null values and statistics.
std::string DescribeSource(const std::string& path, const XRSFile& file);

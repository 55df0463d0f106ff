#pragma once

#include "output/Json.h"

#include <array>
#include <string>
#include <vector>

class XSpatialReference;
class ZRMBand;

/// Places in the world: x before y, longitude before latitude.
using Points = std::vector<std::array<double, 2>>;

/// The outer corners of an image in world coordinates, in the image's own sense: upper left, upper right, lower right,
/// lower left.
Points CornersOf(const ZRMBand& band);

/// An array of [x, y].
Json DescribePoints(const Points& points);

/// The same points in degrees on WGS 84. A point without a place there is null. All is null where nothing leads from
/// the system to WGS 84, or the system is unknown.
Json DescribeLonLat(const Points& points, const XSpatialReference& sr);

/// Name, code and text of a system. Returns null for a system that is unknown.
Json DescribeSystem(const XSpatialReference& sr);

// The text form is made of the same descriptions, so that both always say the same.

void PrintSystem(const Json& system, const char* indent);

/// A line for each point under its label. `points` or `lonLat` may be null as a whole. Single places of `lonLat` may be
/// null too.
void PrintPoints(const std::vector<std::string>& labels, const Json& points, const Json& lonLat);

/// The four corners. Null prints that there is no place.
void PrintCorners(const Json& corners, const Json& lonLat);

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

/// The same points in degrees on WGS 84, null in place of one that has no place there. Null for all where nothing leads
/// from the system to WGS 84, as from one that is unknown.
Json DescribeLonLat(const Points& points, const XSpatialReference& sr);

/// Name, code and text of a system; null for one that is unknown.
Json DescribeSystem(const XSpatialReference& sr);

// The text form is made of the same descriptions, so that both always say the same.

void PrintSystem(const Json& system, const char* indent);

/// A line for each point under its label. Either may be null as a whole; `lonLat` may also be so in part.
void PrintPoints(const std::vector<std::string>& labels, const Json& points, const Json& lonLat);

/// The four corners, or that there is no place for null.
void PrintCorners(const Json& corners, const Json& lonLat);

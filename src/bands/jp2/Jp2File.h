#pragma once

#include "bands/jp2/Jp2Place.h"
#include "bands/jp2/Jp2Walk.h"
#include "codec/J2kReader.h"
#include "ZRMBand.h"

#include <memory>
#include <vector>

namespace zrk {

/// An open file: its codestream, and its boxes where it has any.
struct Jp2File {
  std::shared_ptr<DiskFile> file;
  std::vector<Jp2Box> boxes;  ///< empty for a codestream without boxes
  std::shared_ptr<J2kReader> codestream;
};

/// Opens a file of either kind. Returns 1, or 0 with the reason in `err`.
int OpenJp2(const XString& path, Jp2File& opened, XString& err);

/// What the compatible policy makes of the boxes that place an image.
struct Jp2Bounds {
  double left = 0.0;
  double lower = 0.0;
  double right = 0.0;
  double upper = 0.0;
  double xSize = 1.0;
  double ySize = 1.0;
  std::optional<Jp2Transform> transform;  ///< where the system is known
  std::vector<tagGCP> tiePoints;
  XString wkt;
};
/// Empty where no box places an image. `sr` gets the system, or becomes one of pixels.
std::optional<Jp2Bounds> FindBounds(const Jp2PlaceBoxes& boxes, int width, int height, XSpatialReference& sr);

/// Places a band that has its size, by its policy. `tiePoints` gets those that the file has in place of a transform.
/// Returns 1, or 0 with the reason in `err` where the disk fails, and under the exact policy also where a box that
/// could tell the place can't be read.
int PlaceJp2(ZRMBand& band, const Jp2File& opened, tagGCPSets& tiePoints, XString& err);

/// What the boxes say that the components show.
struct Jp2Colours {
  bool hasPalette = false;
  int space = 0;                    ///< the number of the enumerated colour space; 0 where the file names no space
  std::vector<int> associations{};  ///< by component: the colour from 1 on, 0 for opacity, -1 for what is not known
};
Jp2Colours ReadColours(const Jp2File& opened);
/// What a component shows by that, of so many.
XColourRole GetRole(const Jp2Colours& colours, int numComponents, int component);

}  // namespace zrk

// A rectified grid in GML. It has the size of the image, the place of the centre of the first pixel, and two steps:
// from pixel to pixel in a row, and from row to row. A coverage names the codestream as what lies on the grid, and has
// a collection of features around it, which has the bounds of all.
//
// Numbers stand in the order that the registry gives to the axes of the system. They are printed with as many digits
// as it takes to read the same number again, whatever the locale is.

#include "writers/Jp2GridText.h"

#include "base/Failure.h"
#include "geo/AxisOrder.h"
#include "writers/Jp2Job.h"
#include "ZRMBand.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

namespace zrk {
namespace {

using GridPoint = std::array<double, 2>;

std::string PrintNumber(double number) {
  char digits[32];
  return {digits, std::to_chars(std::begin(digits), std::end(digits), number).ptr};
}

/// Prints points and steps in a system.
class GridPrinter {
 public:
  explicit GridPrinter(int epsg)
      : system_("urn:ogc:def:crs:EPSG::" + std::to_string(epsg)), isNorthFirst_(HasNorthFirst(epsg)) {}

  /// `x` is to the east, whatever comes first.
  std::string Print(GridPoint point) const {
    if (isNorthFirst_) std::swap(point[0], point[1]);
    return PrintNumber(point[0]) + " " + PrintNumber(point[1]);
  }
  std::string NameSystem() const { return " srsName=\"" + system_ + "\""; }

 private:
  std::string system_;
  bool isNorthFirst_;
};

std::string Element(std::string_view name, const std::string& attributes, const std::string& content) {
  const std::string tag = "gml:" + std::string(name);
  return "<" + tag + attributes + ">" + content + "</" + tag + ">";
}

/// The box around the corners of the image.
std::string MakeBounds(const J2kPlan& plan, const double (&t)[6], const GridPrinter& printer) {
  GridPoint least = {t[0], t[3]}, most = least;
  for (const auto& [column, row] : {GridPoint{1, 0}, GridPoint{0, 1}, GridPoint{1, 1}}) {
    const double x = column * plan.width, y = row * plan.height;
    const GridPoint corner = {t[0] + x * t[1] + y * t[2], t[3] + x * t[4] + y * t[5]};
    for (std::size_t i = 0; i < 2; ++i) {
      least[i] = std::min(least[i], corner[i]);
      most[i] = std::max(most[i], corner[i]);
    }
  }
  const std::string corners =
      Element("lowerCorner", "", printer.Print(least)) + Element("upperCorner", "", printer.Print(most));
  return Element("boundedBy", "", Element("Envelope", printer.NameSystem(), corners));
}

std::string MakeGrid(const J2kPlan& plan, const double (&t)[6], const GridPrinter& printer) {
  const std::string size = Element("low", "", "0 0") +
                           Element("high", "", std::to_string(plan.width - 1) + " " + std::to_string(plan.height - 1));
  const GridPoint first = {t[0] + t[1] / 2 + t[2] / 2, t[3] + t[4] / 2 + t[5] / 2};
  const std::string point =
      Element("Point", " gml:id=\"P0001\"" + printer.NameSystem(), Element("pos", "", printer.Print(first)));
  const std::string limits = Element("limits", "", Element("GridEnvelope", "", size));
  const std::string axes = Element("axisName", "", "x") + Element("axisName", "", "y");
  const std::string steps = Element("offsetVector", printer.NameSystem(), printer.Print({t[1], t[4]})) +
                            Element("offsetVector", printer.NameSystem(), printer.Print({t[2], t[5]}));
  return Element("RectifiedGrid", " dimension=\"2\"", limits + axes + Element("origin", "", point) + steps);
}

std::string MakeCoverage(const std::string& grid) {
  const std::string file = Element("File", "",
                                   "<gml:rangeParameters/>" + Element("fileName", "", "gmljp2://codestream/0") +
                                       Element("fileStructure", "", "Record Interleaved"));
  return Element("RectifiedGridCoverage", " dimension=\"2\" gml:id=\"RGC0001\"",
                 Element("rectifiedGridDomain", "", grid) + Element("rangeSet", "", file));
}

}  // namespace

int MakeGridText(const Jp2Job& job, bool isExact, std::string& text, XString& err) {
  text.clear();
  const ZRMBand& first = *job.bands.front();
  const int epsg = first.GetSR()->GetEPSG();
  if (first.GetCoordinateKind() != kCoordinateWorld || epsg <= 0) {
    return !isExact || FailWith(err, "GML can't be written, because there is no place in a system with an EPSG code");
  }
  double t[6];
  job.GetTransform(t);
  const GridPrinter printer(epsg);
  const std::string member = Element("featureMember", "", MakeCoverage(MakeGrid(job.plan, t, printer)));
  const std::string features = Element("FeatureCollection", "", member);
  text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" +
         Element("FeatureCollection", " xmlns:gml=\"http://www.opengis.net/gml\"",
                 MakeBounds(job.plan, t, printer) + Element("featureMember", "", features));
  return 1;
}

}  // namespace zrk

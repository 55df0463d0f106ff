#pragma once

#include "core/native/BandFields.h"
#include "core/native/XmlArchive.h"
#include "XRSFile.h"
#include "XSpatialReference.h"

#include <pugixml.hpp>
#include <string>

namespace zrk {

/// Reads projections. The bands of a dataset mostly share one system, and importing takes long. So the last system is
/// kept.
class ProjectionReader {
 public:
  /// Sets the band's system, where the text has one that can be understood. False where the bands have more different
  /// systems than any dataset has: importing them would take seconds and fill the memory.
  bool Read(XmlReader& reader, ZRMBand& band);

 private:
  static constexpr int kMaxImports = 256;

  int numImports_ = 0;
  XString wkt_;
  XSpatialReference sr_;
};

/// The sentence for an element that holds no valid value.
XString InvalidValue(const std::string& name);

/// Statistics and what is known of how the band was taken.
void ReadDescription(XmlReader& reader, ZRMBand& band);
/// The identity of a band: names, kinds, null value and georeference. The projection has to be read before.
void ReadIdentity(XmlReader& reader, ZRMBand& band);

/// The fields of a dataset as its text has them. They stay apart from the dataset until all are known to be valid.
class DatasetText {
 public:
  explicit DatasetText(const XRSFile& dataset);

  /// `invalidName` gets the name of an element that holds no valid value.
  void Read(pugi::xml_node element, int numBands, std::string& invalidName);
  /// Hands over what was read. Single values replace those of the dataset, and so do lists and records that the text
  /// has.
  void MoveTo(XRSFile& dataset);

 private:
  XRSFile text_;
};

}  // namespace zrk

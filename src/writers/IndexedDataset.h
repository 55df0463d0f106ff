#pragma once

#include "XPaletteReader.h"
#include "XString.h"

#include <memory>

class XRSFile;
class ZRMBand;

namespace zrk {

/// An image whose pixels are entries of a palette, ready to be written as such.
struct IndexedDataset {
  std::unique_ptr<XRSFile> file;  ///< its one band has the numbers of the entries; null where there is no palette
  std::shared_ptr<const tagXColourMap> colours;
};

/// Makes it of a dataset whose bands show all the colours of one palette and nothing else: red, green and blue in this
/// order, or grey alone. Any other dataset leaves it empty. False with the reason where the numbers can't be read.
bool MakeIndexedDataset(const XRSFile& source, IndexedDataset& indexed, XString& err);

/// The colours of the classes of a band, each at the number of its class. Null for a band without any, and for one
/// whose samples are not of 8 or 16 bits without sign, which no TIFF file has colours for.
std::shared_ptr<const tagXColourMap> ColoursOfClasses(const ZRMBand& band);

}  // namespace zrk

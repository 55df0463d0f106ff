#pragma once

#include "XPaletteReader.h"
#include "XString.h"

#include <memory>

class XRSFile;

namespace zrk {

/// An image whose pixels are entries of a palette, ready to be written as such.
struct IndexedDataset {
  std::unique_ptr<XRSFile> file;  ///< its one band has the numbers of the entries; null where there is no palette
  std::shared_ptr<const tagXColourMap> colours;
};

/// Makes it of a dataset whose bands show all the colours of one palette and nothing else: red, green and blue in this
/// order, or grey alone. Any other dataset leaves it empty. False with the reason where the numbers can't be read.
bool MakeIndexedDataset(const XRSFile& source, IndexedDataset& indexed, XString& err);

}  // namespace zrk

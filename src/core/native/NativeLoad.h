#pragma once

#include "XString.h"

#include <cstdint>
#include <pugixml.hpp>

class XFile;
class XRSFile;

namespace zrk {

/// The file that band bodies lie in; null where the bands are to serve no read. Bodies end at `bodyEnd` at the latest.
struct BodyFile {
  XFile* file = nullptr;
  std::int64_t bodyEnd = 0;
};

/// Makes the bands of a dataset that has none, and fills it. 0 with a sentence and the dataset as it was where the
/// document does not hold together.
int LoadNewBands(XRSFile& dataset, const pugi::xml_document& document, const BodyFile& body, XString& err);

/// Sets what the document says of the dataset's own bands, and fills it. As above, and 0 where the document is not of
/// these bands.
int LoadLevelFields(XRSFile& dataset, const pugi::xml_document& document, XString& err);

}  // namespace zrk

#pragma once

#include "XString.h"

#include <cstdint>
#include <pugixml.hpp>

class XFile;
class XRSFile;

namespace zrk {

/// The file that the bodies of bands lie in. It is null where the bands need not serve reads. No body may reach beyond
/// the offset `bodyEnd`.
struct BodyFile {
  XFile* file = nullptr;
  std::int64_t bodyEnd = 0;
};

/// Makes the bands of a dataset without bands, and fills the dataset. Returns 1, or 0 with a sentence where the
/// document contradicts itself, the limits or the file; the dataset is then as it was.
int LoadNewBands(XRSFile& dataset, const pugi::xml_document& document, const BodyFile& body, XString& err);

/// Sets what the document says of the dataset's own bands, and fills the dataset. Returns 1, or 0 with a sentence where
/// the document was not written for these bands or holds a value that is not valid; the dataset is then as it was.
int LoadLevelFields(XRSFile& dataset, const pugi::xml_document& document, XString& err);

}  // namespace zrk

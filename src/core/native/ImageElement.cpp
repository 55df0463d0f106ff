#include "core/native/ImageElement.h"

#include "core/native/BandFields.h"
#include "core/native/DatasetFields.h"
#include "core/native/NativeXml.h"

namespace zrk {

std::optional<ImageStamp> ReadImageStamp(const XString& text) {
  pugi::xml_document document;
  XString err;
  if (!ParseNativeXml(text.AsStdString(), document, err)) return ImageStamp();
  const pugi::xml_node root = document.document_element();
  if (!root.child(kTagImage)) return std::nullopt;
  ImageStamp stamp;
  std::string invalidName;
  XmlReader reader(root, invalidName);
  VisitImage(reader, stamp);
  return invalidName.empty() ? stamp : ImageStamp();
}

std::vector<bool> ReadLevelClasses(const XString& text) {
  pugi::xml_document document;
  XString err;
  if (!ParseNativeXml(text.AsStdString(), document, err)) return {};
  std::vector<bool> bands;
  for (const pugi::xml_node band : document.document_element().children(kTagBand)) {
    bands.push_back(band.child(kTagLevelClasses).text().as_int() == 1);
  }
  return bands;
}

std::string FormatImageElement(const ImageStamp& stamp) {
  pugi::xml_document document;
  XmlWriter writer(document);
  ImageStamp copy = stamp;
  VisitImage(writer, copy);
  const std::string text = FormatNativeXml(document).AsStdString();
  return text.substr(0, text.find('>') + 1);
}

}  // namespace zrk

// The text of native rasters and level files, as a document and back. pugixml parses it. The text is checked before,
// and limits on its bytes, its elements and attributes, and its depth bound the cost of parsing. Document types are
// refused, since they can unfold to any size.
//
// The text says ISO-8859-1 and the parser is told UTF-8. It does not look at bytes from 0x80 on, and so they come out
// as they went in, whatever they were meant to be.

#include "core/native/NativeXml.h"

#include "base/XmlGate.h"
#include "core/native/XmlArchive.h"
#include "XLimits.h"

#include <cstddef>
#include <cstdint>
#include <new>
#include <string>

namespace zrk {

namespace {

// Declaration, comments and instructions are kept as well, so that a document that is changed in part is written back
// with all that it had.
constexpr unsigned kParseFlags = pugi::parse_default | pugi::parse_declaration | pugi::parse_comments | pugi::parse_pi;

/// Whether more elements begin in the text than are allowed, or it has more than twice as many attributes. The look is
/// coarse: comments and the like count as elements, and every equals sign counts as an attribute.
bool HasTooManyNodes(std::string_view text, std::int64_t maxElements) {
  std::int64_t numElements = 0, numAttributes = 0;
  for (std::size_t i = 0; i + 1 < text.size(); ++i) {
    numElements += text[i] == '<' && text[i + 1] != '/';
    numAttributes += text[i] == '=';
  }
  return numElements > maxElements || numAttributes > 2 * maxElements;
}

class StringWriter : public pugi::xml_writer {
 public:
  void write(const void* data, std::size_t size) override { text_.append(static_cast<const char*>(data), size); }
  std::string& GetText() { return text_; }

 private:
  std::string text_;
};

}  // namespace

XString FindXmlRefusal(std::string_view text) {
  const tagXLimits limits = XfnGetLimits();
  if (static_cast<std::int64_t>(text.size()) > limits.xmlBytes) return "the text is too long";
  if (HasTooManyNodes(text, limits.xmlElements)) return "it has too many elements";
  return FindXmlDanger(text, limits.nestingDepth);
}

bool ParseNativeXml(std::string_view text, pugi::xml_document& document, XString& err) {
  if (const XString danger = FindXmlRefusal(text); !danger.IsEmpty()) {
    err = "The raster metadata is refused: " + danger;
    return false;
  }
  const pugi::xml_parse_result result =
      document.load_buffer(text.data(), text.size(), kParseFlags, pugi::encoding_utf8);
  // Where memory runs out the text may be sound, and so this is not reported as a fault of the text.
  if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
  if (result && document.document_element()) return true;
  err = "The raster metadata is not well formed";
  return false;
}

XString FormatNativeXml(const pugi::xml_document& document) {
  StringWriter writer;
  document.save(writer, " ", pugi::format_default | pugi::format_no_declaration, pugi::encoding_utf8);
  return XString(std::move(writer.GetText()));
}

bool ReplaceProjections(XString& xml, const XString& wkt) {
  pugi::xml_document document;
  XString err;
  if (!ParseNativeXml(xml.AsStdString(), document, err)) return false;
  for (const pugi::xml_node band : document.document_element().children(kTagBand)) {
    if (band.child(kTagProjection)) XmlWriter(band).Field(kTagProjection, wkt);
  }
  xml = FormatNativeXml(document);
  return true;
}

}  // namespace zrk

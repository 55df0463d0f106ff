// What `zrkio info` tells of a NITF file beyond its size and place: version, title, blocks, compression, segments,
// classification and corners. Each function makes values for machines and lines for people from the same fields, so
// that both say the same.

#include "bands/nitf/NitfNotes.h"

#include "tagXFormatNotes.h"
#include "ZRMBandNITF.h"

#include <array>
#include <utility>

namespace zrk {
namespace {

tagXNote TextOf(const char* name, const XString& text) {
  return {.name = name, .kind = tagXNote::kText, .text = text};
}

tagXNote CountOf(const char* name, int count) {
  return {.name = name, .kind = tagXNote::kInteger, .number = count};
}

tagXNote RecordOf(const char* name, std::vector<tagXNote> parts) {
  return {.name = name, .kind = tagXNote::kRecord, .parts = std::move(parts)};
}

const char* NameCompression(const XString& code) {
  constexpr std::array<std::pair<std::string_view, const char*>, 8> kNames = {{{"NC", "none"},
                                                                               {"NM", "none"},
                                                                               {"C1", "bilevel"},
                                                                               {"C3", "JPEG"},
                                                                               {"C4", "vector quantisation"},
                                                                               {"C5", "lossless JPEG"},
                                                                               {"C8", "JPEG 2000"},
                                                                               {"I1", "downsampled JPEG"}}};
  // M stands in place of C where blocks of the image are left out.
  std::string plain = code.AsStdString();
  if (plain.starts_with('M')) plain.front() = 'C';
  for (const auto& [known, name] : kNames) {
    if (known == plain) return name;
  }
  return "unknown";
}

const char* NameClassification(const XString& letter) {
  switch (letter.GetAt(0)) {
    case 'U':
      return "unclassified";
    case 'R':
      return "restricted";
    case 'C':
      return "confidential";
    case 'S':
      return "secret";
    case 'T':
      return "top secret";
    default:
      return "not told";
  }
}

void DescribeImage(const tagXNitfInfo& info, tagXFormatNotes& notes) {
  const char* const compression = NameCompression(info.compression);
  notes.values.push_back(TextOf("version", info.version));
  notes.values.push_back(TextOf("title", info.title));
  notes.values.push_back(
      RecordOf("image", {TextOf("id", info.imageId), TextOf("title", info.imageTitle),
                         TextOf("representation", info.representation), TextOf("category", info.category)}));
  notes.values.push_back(RecordOf("blocks", {CountOf("width", info.blockWidth), CountOf("height", info.blockHeight)}));
  notes.values.push_back(RecordOf(
      "compression", {TextOf("code", info.compression), TextOf("name", compression), TextOf("rate", info.rate)}));
  XString line;
  line.Format("version     %s", info.version.GetText());
  notes.lines.push_back(line);
  line.Format("title       %s", info.title.GetText());
  if (!info.title.IsEmpty()) notes.lines.push_back(line);
  line.Format("image       %s, %s, %s", info.imageId.GetText(), info.representation.GetText(), info.category.GetText());
  notes.lines.push_back(line);
  line.Format("blocks      %d x %d, compression %s (%s)", info.blockWidth, info.blockHeight, info.compression.GetText(),
              compression);
  notes.lines.push_back(line);
}

void DescribeSegments(const tagXNitfInfo& info, tagXFormatNotes& notes) {
  const std::array<std::pair<const char*, int>, 6> kinds = {{{"images", info.numImages},
                                                             {"graphics", info.numGraphics},
                                                             {"labels", info.numLabels},
                                                             {"texts", info.numTexts},
                                                             {"extensions", info.numExtensions},
                                                             {"reserved", info.numReserved}}};
  std::vector<tagXNote> counts;
  XString line = "segments   ";
  for (const auto& [name, count] : kinds) {
    counts.push_back(CountOf(name, count));
    XString part;
    part.Format(" %s %d", name, count);
    if (count > 0) line += part;
  }
  notes.values.push_back(RecordOf("segments", std::move(counts)));
  notes.lines.push_back(line);
}

void DescribeClassification(const tagXNitfInfo& info, tagXFormatNotes& notes) {
  notes.values.push_back(
      RecordOf("classification", {TextOf("file", info.classification), TextOf("image", info.imageClassification)}));
  XString line;
  line.Format("security    file %s, image %s", NameClassification(info.classification),
              NameClassification(info.imageClassification));
  notes.lines.push_back(line);
}

void DescribeCorners(const ZRMBandNITF& band, tagXFormatNotes& notes) {
  tagXNote list{.name = "cornerCoordinates", .kind = tagXNote::kList};
  if (band.HasOriginBoundRect()) {
    double corners[8];
    band.GetOriginBoundRect(corners);
    XString line = "corners    ";
    for (int i = 0; i < 4; ++i) {
      XString corner;
      corner.Format("%.6f %.6f", corners[2 * i], corners[2 * i + 1]);
      line += (i > 0 ? ", " : " ") + corner;
      list.parts.push_back(TextOf("", corner));
    }
    notes.lines.push_back(line);
  }
  notes.values.push_back(std::move(list));
}

}  // namespace

void DescribeNitfFile(ZRMBand& first, bool, tagXFormatNotes& notes) {
  const auto& band = static_cast<const ZRMBandNITF&>(first);
  const tagXNitfInfo info = band.GetInfo();
  DescribeImage(info, notes);
  DescribeSegments(info, notes);
  DescribeClassification(info, notes);
  DescribeCorners(band, notes);
}

}  // namespace zrk

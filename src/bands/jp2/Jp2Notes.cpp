// What `zrkio info` tells of a JPEG 2000 file beyond its pixels: components, tiles, resolutions, layers and their
// order, and on request all boxes. Values for machines and lines for people are made side by side from the same fields,
// so that both say the same.

#include "bands/jp2/Jp2Notes.h"

#include "tagXFormatNotes.h"
#include "ZRMBandJ2K.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace zrk {
namespace {

using Component = tagXJp2Codestream::Component;

tagXNote TextNote(const char* name, const XString& text) {
  return {.name = name, .kind = tagXNote::kText, .text = text};
}

tagXNote NumberNote(const char* name, std::int64_t number) {
  return {.name = name, .kind = tagXNote::kInteger, .number = number};
}

tagXNote TruthNote(const char* name, bool isTrue) {
  return {.name = name, .kind = tagXNote::kBool, .number = isTrue};
}

tagXNote DescribeComponent(const Component& component) {
  return {.kind = tagXNote::kRecord,
          .parts = {NumberNote("bits", component.depth), TruthNote("signed", component.isSigned),
                    NumberNote("dx", component.dx), NumberNote("dy", component.dy)}};
}

tagXNote DescribeCodestream(const tagXJp2Codestream& info) {
  tagXNote components{.name = "components", .kind = tagXNote::kList};
  for (const Component& each : info.components) components.parts.push_back(DescribeComponent(each));
  return {.name = "codestream",
          .kind = tagXNote::kRecord,
          .parts = {std::move(components), NumberNote("tileWidth", info.tileWidth),
                    NumberNote("tileHeight", info.tileHeight), NumberNote("tilesAcross", info.tilesAcross),
                    NumberNote("tilesDown", info.tilesDown), NumberNote("levels", info.numLevels),
                    NumberNote("layers", info.numLayers), TextNote("progression", info.progression),
                    TruthNote("reversible", info.isReversible)}};
}

XString Count(int count, const char* noun) {
  XString text;
  text.Format("%d %s%s", count, noun, count == 1 ? "" : "s");
  return text;
}

bool AreAlike(const Component& a, const Component& b) {
  return a.depth == b.depth && a.isSigned == b.isSigned && a.dx == b.dx && a.dy == b.dy;
}

XString FormatComponent(const Component& component) {
  XString text = Count(component.depth, "bit");
  if (component.isSigned) text += ", signed";
  if (component.dx == 1 && component.dy == 1) return text;
  XString grid;
  grid.Format(", one sample for %d x %d", component.dx, component.dy);
  return text + grid;
}

/// Components that are alike are told of together.
void AddComponentLines(const std::vector<Component>& components, std::vector<XString>& lines) {
  for (auto first = components.begin(); first != components.end();) {
    const auto end =
        std::find_if(first, components.end(), [&](const Component& each) { return !AreAlike(*first, each); });
    lines.push_back("components  " + Count(static_cast<int>(end - first), "component") + " of " +
                    FormatComponent(*first));
    first = end;
  }
}

void AddCodestreamLines(const tagXJp2Codestream& info, std::vector<XString>& lines) {
  XString tiles;
  tiles.Format("tiles       %d x %d of %d x %d", info.tilesAcross, info.tilesDown, info.tileWidth, info.tileHeight);
  lines.push_back(info.tilesAcross * info.tilesDown == 1 ? XString("tiles       the image is one tile") : tiles);
  lines.push_back("coding      " + Count(info.numLevels + 1, "resolution") + ", " +
                  Count(info.numLayers, "quality layer") + ", " + info.progression + ", " +
                  (info.isReversible ? "reversible" : "not reversible"));
}

/// The lines of a text, set in.
void AddTextLines(std::string_view text, int indent, std::vector<XString>& lines) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    if (end > 0)
      lines.push_back(XString(std::string(static_cast<std::size_t>(indent), ' ') + std::string(text.substr(0, end))));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

/// A line for each box, which is set in as far as the box lies within others, and the lines of its text.
void DescribeBoxes(const std::vector<tagXJp2Box>& boxes, tagXFormatNotes& notes) {
  tagXNote list{.name = "boxes", .kind = tagXNote::kList};
  for (const tagXJp2Box& box : boxes) {
    tagXNote note{.kind = tagXNote::kRecord,
                  .parts = {TextNote("type", box.type), NumberNote("offset", box.offset),
                            NumberNote("bytes", box.numBytes), NumberNote("depth", box.depth)}};
    if (!box.name.IsEmpty()) note.parts.push_back(TextNote("name", box.name));
    if (!box.text.IsEmpty()) note.parts.push_back(TextNote("text", box.text));
    list.parts.push_back(std::move(note));
    XString line;
    line.Format("box         %*s%s at %lld, %lld bytes", 2 * box.depth, "", box.type.GetText(),
                static_cast<long long>(box.offset), static_cast<long long>(box.numBytes));
    if (!box.name.IsEmpty()) line += ", " + box.name;
    notes.furtherLines.push_back(line);
    AddTextLines(box.text.GetText(), 14 + 2 * box.depth, notes.furtherLines);
  }
  notes.values.push_back(std::move(list));
}

}  // namespace

void DescribeJp2(ZRMBand& band, bool isVerbose, tagXFormatNotes& notes) {
  const auto& jp2 = static_cast<const ZRMBandJ2K&>(band);
  const tagXJp2Codestream info = jp2.GetCodestreamInfo();
  notes.values.push_back(DescribeCodestream(info));
  AddComponentLines(info.components, notes.lines);
  AddCodestreamLines(info, notes.lines);
  if (isVerbose) DescribeBoxes(jp2.ListBoxes(), notes);
}

}  // namespace zrk

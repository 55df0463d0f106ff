// The row of the HFA format: how a file is known, how it is loaded, and what `zrkio info` tells of it. A load makes a
// master for the first layer, which opens the file, and a follower for each further layer.
//
// The two policies differ in the end of a load. An exact load finishes as all rasters do. A compatible load takes the
// level mode as a flag, and its first band may get no statistics, because existing callers rely on that.

#include "core/load/FirstBytes.h"
#include "core/load/RasterLoad.h"
#include "core/xld/LevelData.h"
#include "tagXFormatNotes.h"
#include "XFormatId.h"
#include "XLevelMode.h"
#include "ZRMBandHFA.h"

namespace zrk {
namespace {

bool IsHfa(FileHead head) {
  return StartsWith(head, "EHFA_HEADER_TAG");
}

Channels OpenLayers(const RasterCall& call) {
  Channels channels;
  auto master = std::make_unique<ZRMBandHFA>(nullptr, 0);
  ZRMBandHFA* const shared = master.get();
  shared->SetBandName(MakeChannelName(ChannelNames::kWithFileName, call.path, 1));
  shared->SetReadPolicy(call.file->GetReadPolicy());
  if (!shared->ReadFile(call.path, call.err, call.thread)) return channels;
  channels.push_back(std::move(master));
  for (int i = 1; i < shared->GetNumChannels(); ++i) channels.push_back(std::make_unique<ZRMBandHFA>(shared, i));
  return channels;
}

/// The compatible policy takes the mode as a flag: a file with overviews gets statistics only, and any other one levels
/// after a question. Where there is no level data, the first band gets no statistics.
void FinishCompatibly(const RasterCall& call, const ZRMBandHFA& master) {
  XRSFile& file = *call.file;
  file.SetName(call.path);
  file.SetFilePath(call.path);
  if (call.levelMode == kLevelNone) return;
  Fenced(call.err, [&] {
    const int mode = master.GetNumOverviews() > 0 ? kLevelStatistics : kLevelAsk;
    const int hasLevels = LoadLevelData(file, call.path, call.err, mode, call.thread);
    for (int i = 1; call.calcStatistics && !hasLevels && i < file.GetNumOfBands(); ++i) {
      file.GetBandAt(i)->CalcStatistics(1);
    }
    return 1;
  });
}

int LoadHfa(const RasterCall& call) {
  if (!call.file) {
    call.err = kNotValidFile;
    return 0;
  }
  return Fenced(call.err, [&] {
    Channels channels = OpenLayers(call);
    if (channels.empty()) return 0;
    const auto& master = static_cast<const ZRMBandHFA&>(*channels.front());
    AddChannels(*call.file, std::move(channels));
    if (call.file->GetReadPolicy() == kReadExact) {
      FinishRaster(call);
    } else {
      FinishCompatibly(call, master);
    }
    return 1;
  });
}

tagXNote NoteNumber(const char* name, std::int64_t number) {
  return {.name = name, .kind = tagXNote::kInteger, .number = number};
}

tagXNote NoteList(const char* name, std::vector<tagXNote> parts) {
  return {.name = name, .kind = tagXNote::kList, .parts = std::move(parts)};
}

tagXNote NoteRecord(const char* name, std::vector<tagXNote> parts) {
  return {.name = name, .kind = tagXNote::kRecord, .parts = std::move(parts)};
}

void DescribeOverviews(const ZRMBandHFA& band, tagXFormatNotes& notes) {
  std::vector<tagXNote> levels;
  XString line = "overviews   levels";
  for (const int level : band.GetOverviewLevels()) {
    levels.push_back(NoteNumber("", level));
    line += ' ';
    line += std::to_string(level);
  }
  if (!levels.empty()) notes.lines.push_back(line);
  notes.values.push_back(NoteList("overviews", std::move(levels)));
}

void DescribeClasses(const ZRMBandHFA& band, tagXFormatNotes& notes) {
  std::vector<tagXNote> classes;
  for (int i = 0; i < band.GetNumOfGIS(); ++i) {
    const tagXRSGIS& gis = *band.GetGISAt(i);
    std::vector<tagXNote> colour = {NoteNumber("", gis.red), NoteNumber("", gis.green), NoteNumber("", gis.blue)};
    classes.push_back(NoteRecord("", {NoteNumber("number", gis.index), NoteList("colour", std::move(colour))}));
  }
  XString line;
  line.Format("classes     %d, with colours", band.GetNumOfGIS());
  if (!classes.empty()) notes.lines.push_back(line);
  notes.values.push_back(NoteList("classes", std::move(classes)));
}

void DescribeHfaFile(ZRMBand& first, bool, tagXFormatNotes& notes) {
  const auto& band = static_cast<const ZRMBandHFA&>(first);
  const int width = band.GetBlockWidth(), height = band.GetBlockHeight();
  notes.values.push_back(NoteRecord("blocks", {NoteNumber("width", width), NoteNumber("height", height)}));
  XString line;
  const char* const compression = band.IsCompressed() ? "run lengths" : "none";
  notes.values.push_back({.name = "compression", .kind = tagXNote::kText, .text = compression});
  line.Format("blocks      %d x %d, compression %s", width, height, compression);
  notes.lines.push_back(line);
  DescribeOverviews(band, notes);
  DescribeClasses(band, notes);
}

}  // namespace

extern const FormatRow kHfaFormat;
constinit const FormatRow kHfaFormat = {.format = {.id = kFormatHFA,
                                                   .name = "HFA",
                                                   .extensions = "img",
                                                   .isRaster = true,
                                                   .canRead = true,
                                                   .bandClass = "ZRMBandHFA"},
                                        .isContent = &IsHfa,
                                        .loadRaster = &LoadHfa,
                                        .describe = &DescribeHfaFile};

}  // namespace zrk

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

void DescribeHfaFile(ZRMBand& first, bool, tagXFormatNotes& notes) {
  const auto& band = static_cast<const ZRMBandHFA&>(first);
  notes.values.push_back(
      {.name = "blocks",
       .kind = tagXNote::kRecord,
       .parts = {NoteNumber("width", band.GetBlockWidth()), NoteNumber("height", band.GetBlockHeight())}});
  tagXNote levels = {.name = "overviews", .kind = tagXNote::kList};
  XString line;
  line.Format("blocks of %d x %d", band.GetBlockWidth(), band.GetBlockHeight());
  notes.lines.push_back(line);
  line = "overviews at the levels";
  for (const int level : band.GetOverviewLevels()) {
    levels.parts.push_back(NoteNumber("", level));
    line += ' ';
    line += std::to_string(level);
  }
  if (!levels.parts.empty()) notes.lines.push_back(line);
  notes.values.push_back(std::move(levels));
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

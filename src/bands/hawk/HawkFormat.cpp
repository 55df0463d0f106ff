// A data set is known by the name of one of its images and by a document beside it. Its images are TIFF files with
// extensions that no format has, and an image without a document is left to that format.

#include "bands/hawk/HawkLevels.h"
#include "core/load/RasterLoad.h"
#include "tagXFormatNotes.h"
#include "XFile.h"
#include "XFormatId.h"
#include "XLevelMode.h"
#include "ZRMBandHawk.h"

namespace zrk {
namespace {

bool IsOfHawkSet(const XString& path) {
  const HawkName name(path);
  return name.isImage && XFile::Exists(name.PathOf(".XML"));
}

/// The compatible policy does not ask the caller about level data. Where the data set has images of levels, a file with
/// statistics is made; otherwise the operator is asked.
int LoadHawk(const RasterCall& call) {
  if (!call.file) {
    call.err = kNotValidFile;
    return 0;
  }
  return Fenced(call.err, [&] {
    auto band = std::make_unique<ZRMBandHawk>();
    band->SetBandName(MakeChannelName(ChannelNames::kPlain, call.path, 1));
    band->SetReadPolicy(call.file->GetReadPolicy());
    if (!band->ReadFile(call.path, call.err, call.thread)) return 0;
    band->SetColourRole(kRoleGrey);
    RasterCall finish = call;
    if (call.file->GetReadPolicy() != kReadExact) finish.levelMode = band->GetCreateXLDOption();
    call.file->AddBand(band.release());
    FinishRaster(finish);
    return 1;
  });
}

tagXNote NoteOfNumber(const char* name, std::int64_t number) {
  return {.name = name, .kind = tagXNote::kInteger, .number = number};
}

tagXNote NoteOfText(const char* name, const XString& text) {
  return {.name = name, .kind = tagXNote::kText, .text = text};
}

void DescribeImages(const ZRMBandHawk& band, tagXFormatNotes& notes) {
  tagXNote levels = {.name = "images", .kind = tagXNote::kList};
  XString line = "images      levels";
  for (int level = 0; level < band.GetNumOfLevelBands(); ++level) {
    if (!band.GetLevelBandAt(level)) continue;
    levels.parts.push_back(NoteOfNumber("", level));
    line += ' ';
    line += std::to_string(level);
  }
  notes.values.push_back(std::move(levels));
  notes.lines.push_back(line);
  const XString refusal = band.GetLevelRefusal();
  if (!refusal.IsEmpty()) notes.lines.push_back("            " + refusal);
}

void DescribeHawk(ZRMBand& first, bool, tagXFormatNotes& notes) {
  const auto& band = static_cast<const ZRMBandHawk&>(first);
  DescribeImages(band, notes);
  const char* const spectrum = band.GetIsIR() ? "infrared" : "visible";
  notes.values.push_back(NoteOfText("spectrum", spectrum));
  notes.values.push_back(NoteOfNumber("lines", band.GetImageLines()));
  notes.values.push_back(NoteOfNumber("samples", band.GetImageSamples()));
  notes.values.push_back(NoteOfNumber("poses", band.GetGridCount()));
  notes.values.push_back(NoteOfText("origin_corner", band.GetOriginCorner()));
  XString line;
  line.Format("sensor      %s, %d lines of %d samples, %d poses", spectrum, band.GetImageLines(),
              band.GetImageSamples(), band.GetGridCount());
  notes.lines.push_back(line);
}

}  // namespace

extern const FormatRow kHawkFormat;
constinit const FormatRow kHawkFormat = {.format = {.id = kFormatHAWK,
                                                    .name = "Hawk scanning sensor",
                                                    .extensions = "",
                                                    .isRaster = true,
                                                    .canRead = true,
                                                    .bandClass = "ZRMBandHawk"},
                                         .isOfSet = &IsOfHawkSet,
                                         .loadRaster = &LoadHawk,
                                         .describe = &DescribeHawk};

}  // namespace zrk

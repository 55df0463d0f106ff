// zrkio formats: what this build can do with each format.

#include "CommandLine.h"
#include "commands/Commands.h"
#include "output/Json.h"
#include "output/Text.h"
#include "XFormatTable.h"

#include <cstdio>
#include <memory>
#include <string>

namespace {

/// Formats without an extension say how else they are found.
const char* HowFound(const tagXFormat& format) {
  if (*format.extensions) return format.extensions;
  return format.isKnownByContent ? "(by its first bytes)" : "(by id only)";
}

/// As "found: /opt/ecw/libNCSEcw.so".
std::string TellDecoder(const tagXCodecState& codec) {
  return codec.isFound ? "found: " + Printable(codec.place) : "absent: " + Printable(codec.remark);
}

void PrintFormatsText() {
  std::printf("%-6s %-7s %-4s %-22s %s\n", "id", "kind", "read", "format", "extensions");
  for (const tagXFormat& format : XfnGetFormats()) {
    std::printf("0x%-4X %-7s %-4s %-22s %s\n", format.id, format.isRaster ? "raster" : "vector",
                format.canRead ? "yes" : "no", format.name, HowFound(format));
  }
  std::printf("\nDecoders that are looked for while the program runs:\n");
  for (const tagXFormat& format : XfnGetFormats()) {
    const tagXCodecState codec = XfnFindCodec(format.id);
    if (codec.isNeeded) std::printf("%-6s %s\n", format.name, TellDecoder(codec).c_str());
  }
}

void PrintJson() {
  Json all = Json::array();
  for (const tagXFormat& format : XfnGetFormats()) {
    all.push_back({{"id", format.id},
                   {"name", format.name},
                   {"extensions", format.extensions},
                   {"kind", format.isRaster ? "raster" : "vector"},
                   {"canRead", format.canRead}});
    const tagXCodecState codec = XfnFindCodec(format.id);
    if (!codec.isNeeded) continue;
    Json& decoder = all.back()["decoder"];
    decoder["found"] = codec.isFound;
    decoder[codec.isFound ? "place" : "reason"] = (codec.isFound ? codec.place : codec.remark).AsStdString();
  }
  std::printf("%s\n", Serialize(all).c_str());
}

}  // namespace

void AddFormatsCommand(CommandLine& program) {
  auto json = std::make_shared<bool>(false);
  Command command = program.AddCommand("formats", "List the formats and what this build can do with each", "");
  command.AddFlag("--json", *json, "Print an array of objects for machines");
  command.SetAction([json] {
    *json ? PrintJson() : PrintFormatsText();
    return 0;
  });
}

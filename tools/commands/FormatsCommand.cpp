// zrkio formats: what this build can do with each format.

#include "CommandLine.h"
#include "commands/Commands.h"
#include "XFormatTable.h"

#include <cstdio>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

/// Formats without an extension say how else they are found.
const char* HowFound(const tagXFormat& format) {
  if (*format.extensions) return format.extensions;
  return format.isKnownByContent ? "(by its first bytes)" : "(by id only)";
}

void PrintFormatsText() {
  std::printf("%-6s %-7s %-4s %-22s %s\n", "id", "kind", "read", "format", "extensions");
  for (const tagXFormat& format : XfnGetFormats()) {
    std::printf("0x%-4X %-7s %-4s %-22s %s\n", format.id, format.isRaster ? "raster" : "vector",
                format.canRead ? "yes" : "no", format.name, HowFound(format));
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
  }
  std::printf("%s\n", all.dump(2).c_str());
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

// Options that several subcommands have, declared once so that they read and behave alike.

#include "commands/SharedOptions.h"

#include "CommandLine.h"
#include "Notes.h"
#include "output/TargetFile.h"
#include "output/Text.h"
#include "XPath.h"
#include "XSpatialReference.h"
#include "XSystem.h"

#include <algorithm>
#include <charconv>
#include <thread>

void AddWorkersOption(Command& command, int& count) {
  command
      .AddOption("--workers", "N", count,
                 "Threads that share the work; as many as there are cores\n"
                 "unless given. The result is the same for any number.")
      .SetRange(1, 1024);
}

/// The library uses no threads unless it is granted some. The program owns its process and grants all cores.
void UseWorkers(int count) {
  const int numCores = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  XfnSetWorkerCount(count > 0 ? count : numCores);
}

void AddWindowOptions(Command& command, WindowRequest& window) {
  const Option pixels = command
                            .AddOption("--window", "WINDOW", window.pixels,
                                       "Columns and rows, inclusive, in full-resolution pixels, as\n"
                                       "x0,x1,y0,y1; the whole image unless given")
                            .SetCount(4);
  const Option box = command
                         .AddOption("--bbox", "W,S,E,N", window.box,
                                    "A box of coordinates in the place of a window: all pixels\n"
                                    "that it meets, in the system of the image")
                         .SetCount(4)
                         .Exclude(pixels);
  command.AddFlag("--lonlat", window.isLonLat, "The box is in degrees on WGS 84").Need(box);
}

void AddQuietOption(Command& command) {
  command.AddFlag("--quiet", QuietFlag(), "No progress and no remarks, only failures");
}

void CheckOutputName(const std::string& path, const std::vector<std::string>& extensions, const std::string& written) {
  XString extension = XfnGetFileExt(path);
  extension.MakeLower();
  if (extension.IsEmpty() || !CanBeReplaced(path) ||
      std::ranges::find(extensions, extension.AsStdString()) != extensions.end()) {
    return;
  }
  throw UsageError("-o",
                   "a name in ." + Printable(extension.AsStdString()) + " promises something else than " + written);
}

bool ReadSystem(const std::string& text, XSpatialReference& sr) {
  XString head = text.substr(0, 5);
  head.MakeUpper();
  if (!(head == "EPSG:")) return sr.importFromWkt(text) && !sr.IsEmpty();
  int code = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data() + 5, end, code);
  return error == std::errc() && stop == end && sr.importFromEPSG(code);
}

void AddNoLevelsOption(Command& command, bool& noLevels) {
  command.AddFlag("--no-levels", noLevels, "Read the image itself, also where it has a level file");
}

// zrkio, the program. Here stand the grammar of the command line and what is common to all subcommands: help, version
// and exit status. The subcommands lie in commands/, and those of a format in its own folder under formats/.

#include "CommandLine.h"
#include "commands/Commands.h"
#include "FormatTools.h"
#include "Interrupt.h"
#include "XBlockCache.h"
#include "XCodecFolder.h"
#include "XReadPolicy.h"
#include "XSystem.h"
#include "ZRKVersion.h"

#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>

namespace {

constexpr int kFailedJob = 1;
/// Memory for decoded blocks. A row of tiles across a wide image in colours takes less.
constexpr std::int64_t kBlockCacheBytes = std::int64_t{256} << 20;

std::string VersionText() {
  std::string text = std::string("zrkio ") + XfnGetVersion();
  for (const XString& library : XfnGetLibraryVersions()) text += "\n  " + library.AsStdString();
  return text;
}

/// Output that is held back until the end may fail as late as that.
bool FlushOutput() {
  if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return true;
  std::fputs("zrkio: can't write to standard output\n", stderr);
  return false;
}

const char* const kExamples =
    "Examples:\n"
    "  zrkio info --stats earth.jpg\n"
    "  zrkio bounds scene.tif\n"
    "  zrkio view earth.jpg -o earth.png --max-size 800\n"
    "  zrkio levels earth.jpg\n"
    "  zrkio convert earth.jpg earth.zrm\n"
    "  zrkio toc A.TOC --missing\n"
    "  zrkio read earth.jpg --band 1 --window 100,107,200,203\n"
    "  zrkio read earth.jpg --band 2 --window 0,511,0,511 -o green.png\n"
    "  zrkio value scene.tif 11.58 48.14 --lonlat\n"
    "\n"
    "The exit status is 0 where all went well, 1 where a file could not be handled,\n"
    "and 2 for a command that makes no sense.\n";

/// Builds the grammar of the command line and runs the subcommand that was chosen. A bad command and a failed job have
/// different exit statuses.
int Run(int argc, char** argv) {
  CommandLine program("zrkio", "Looks into raster and vector files of remote sensing and mapping.", kExamples);
  program.SetVersion(VersionText(), "Print the version and those of the libraries used");
  program.AddOption(
      "--codec-folder", "FOLDER", [](const std::string& folder) { XfnSetCodecFolder(folder); },
      "Where decoders of ECW and MrSID files are looked for first; otherwise\nwhat ZRK_CODEC_FOLDER names. It stands "
      "before the subcommand.");
  AddInfoCommand(program);
  AddBoundsCommand(program);
  AddReadCommand(program);
  AddValueCommand(program);
  AddViewCommand(program);
  AddLevelsCommand(program);
  AddConvertCommand(program);
  AddPyramidCommand(program);
  AddTileCommand(program);
  AddGridCommand(program);
  AddVerifyCommand(program);
  AddExportCommand(program);
  for (const FormatTools* tools : AllFormatTools()) {
    if (tools->addCommands) tools->addCommands(program);
  }
  AddFormatsCommand(program);
  InstallInterruptHandlers();
  XfnSetDefaultReadPolicy(kReadExact);
  // A file that another process cuts short is an error to tell, and not the end of the program.
  XfnSetMappedReads(false);
  // Strips and windows that follow each other meet the same blocks, and so do the bands of an image.
  XfnSetBlockCacheBytes(kBlockCacheBytes);
  const int result = program.Run(argc, argv);
  return FlushOutput() ? result : kFailedJob;
}

}  // namespace

/// Whatever is thrown outside the work on a file ends with a sentence too.
int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "zrkio: %s\n", error.what());
    return kFailedJob;
  }
}

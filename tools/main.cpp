#include "Commands.h"
#include "Interrupt.h"
#include "ZRKVersion.h"

#include <cstdio>
#include <exception>
#include <string>

namespace {

constexpr int kFailedJob = 1;
constexpr int kBadUsage = 2;

std::string VersionText() {
  std::string text = std::string("zrkio ") + XfnGetVersion();
  for (const XString& library : XfnGetLibraryVersions()) text += "\n  " + library.AsStdString();
  return text;
}

const char* const kExamples =
    "Examples:\n"
    "  zrkio info --stats earth.jpg\n"
    "  zrkio view earth.jpg -o earth.png --max-size 800\n"
    "  zrkio read earth.jpg --band 1 --window 100,107,200,203\n"
    "  zrkio read earth.jpg --band 2 --window 0,511,0,511 -o green.png\n";

}  // namespace

int main(int argc, char** argv) {
  CLI::App program("Looks into raster and vector files of remote sensing and mapping.", "zrkio");
  program.set_version_flag("--version", VersionText(), "Print the version and those of the libraries used");
  program.footer(kExamples);
  program.require_subcommand(1);
  program.failure_message([](const CLI::App*, const CLI::Error& error) {
    return std::string("zrkio: ") + error.what() + "\nRun zrkio --help for more information.\n";
  });

  int status = 0;
  AddInfoCommand(program, status);
  AddReadCommand(program, status);
  AddViewCommand(program, status);
  AddFormatsCommand(program, status);
  InstallInterruptHandlers();
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return program.exit(error) == 0 ? 0 : kBadUsage;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "zrkio: %s\n", error.what());
    return kFailedJob;
  }
  return status;
}

// Tables of contents of raster map products: a subcommand that tells what they hold, and a picture of their coverage.

#include "formats/rpf/CoveragePicture.h"
#include "formats/rpf/TocCommand.h"
#include "FormatTools.h"
#include "XPath.h"

namespace {

/// A file of this name is taken for a table whatever it holds, so that a damaged one gets its own sentence.
bool HasNameOfToc(const std::string& path) {
  XString extension = XfnGetFileExt(path);
  extension.MakeLower();
  return extension == "toc";
}

/// Options that belong to rasters are refused and not passed over.
bool ViewToc(const ViewRequest& request, const XCIBtoc& toc, XThread& thread, PngShape& shape, std::string& err) {
  if (request.hasBands) {
    err = "a table of contents has no bands";
    return false;
  }
  if (request.hasWindow) {
    err = "a table of contents has no pixels for a window";
    return false;
  }
  if (request.hasNames) {
    err = "a table of contents has no map for places";
    return false;
  }
  if (request.isShaded) {
    err = "a table of contents has no heights";
    return false;
  }
  CoveragePicture picture;
  if (!picture.Draw(toc, request.maxSize, thread, err)) return false;
  shape = picture.GetShape();
  OutputFile output;
  if (!output.Open(request.output, request.file, err)) return false;
  PngWriter png(output);
  return picture.Write(png, err) && output.Commit(err);
}

/// A table of contents is known by its name or by what it holds.
std::optional<bool> View(const ViewRequest& request, XThread& thread, PngShape& shape, std::string& err) {
  XCIBtoc toc;
  if (HasNameOfToc(request.file)) {
    return LoadToc(request.file, toc, err) && ViewToc(request, toc, thread, shape, err);
  }
  if (!toc.LoadFile(request.file)) return std::nullopt;
  return ViewToc(request, toc, thread, shape, err);
}

}  // namespace

extern const FormatTools kRpfTools;
const FormatTools kRpfTools = {&AddTocCommand, &View};

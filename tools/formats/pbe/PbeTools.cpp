// Elevation stores are viewed like other rasters. What they bring to the program is a picture of the normals that they
// keep.

#include "formats/pbe/NormalPicture.h"
#include "FormatTools.h"

namespace {

/// What a picture of stored normals has no use for is refused and not passed over.
bool MayLight(const ViewRequest& request, std::string& err) {
  if (request.hasBands) err = "stored normals belong to no band";
  if (request.hasWindow) err = "a picture of stored normals takes no window";
  if (request.hasNames) err = "a picture of stored normals takes no places";
  return err.empty();
}

std::optional<bool> ViewNormals(const ViewRequest& request, XThread& thread, PngShape& shape, std::string& err) {
  if (!request.isLitByNormals) return std::nullopt;
  NormalPicture picture;
  if (!MayLight(request, err) || !picture.Open(request.file, request.maxSize, err)) return false;
  shape = picture.GetShape();
  OutputFile output;
  if (!output.Open(request.output, request.file, err)) return false;
  PngWriter png(output);
  return picture.Write(request.zFactor, png, thread, err) && output.Commit(err);
}

}  // namespace

extern const FormatTools kPbeTools;
const FormatTools kPbeTools = {nullptr, &ViewNormals};

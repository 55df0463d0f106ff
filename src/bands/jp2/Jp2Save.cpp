#include "bands/jp2/Jp2Save.h"

#include "XRSFile2JP2.h"

namespace zrk {

constinit const tagXFormatWriter kJp2Writer = {.noun = "JPEG 2000 file",
                                               .plural = "JPEG 2000 files",
                                               .takesLevels = true,
                                               .takesMaxError = false,
                                               .takesAllTypes = false,
                                               .worldFile = nullptr,
                                               .takesLayers = true,
                                               .keepsNullValues = false};

/// The bytes do not depend on the number of threads, so that the caller's grant may always be used.
int SaveJp2(const SaveCall& call) {
  const tagXLayerOptions& layers = call.layers;
  XRSFile2JP2 writer;
  writer.SetXRSFile(call.file);
  writer.SetPsnr(layers.psnr);
  writer.SetLevels(layers.numLevels);
  writer.SetTileSize(layers.tileSide);
  writer.SetGeoreference(layers.hasGeoreference);
  writer.SetGml(layers.hasGml);
  return writer.Save(call.path, call.x0, call.x1, call.y0, call.y1, call.err, layers.isLossless, layers.rates,
                     layers.numLayers, 1, call.thread);
}

}  // namespace zrk

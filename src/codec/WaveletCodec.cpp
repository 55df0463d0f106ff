// How decoders are found. The makers' library comes first. It is looked for in three steps: in the folder that the
// program has named; by its plain name, where the system's loader looks; and with a version behind its name, in the
// folders of the loader. GDAL's driver comes second. It is mostly a layer over the same library, but knows more of it.
//
// A search that failed is forgotten soon, so that a decoder can be installed while the program runs. A library that was
// found is bound once, because some libraries have to be told once that they are in use.

#include "codec/WaveletCodec.h"

#include "base/Disk.h"
#include "codec/SharedLibrary.h"
#include "XCodecFolder.h"

#include <map>
#include <mutex>
#include <new>

namespace zrk {

namespace {

using Decoder = std::shared_ptr<const WaveletDecoder>;

/// The decoder of a library, made at the first request.
Decoder BindOnce(const WaveletCodec& codec, std::shared_ptr<const SharedLibrary> library, XString& reason) {
  static std::mutex mutex;
  static std::map<std::string, Decoder> bound;
  const std::lock_guard lock(mutex);
  Decoder& decoder = bound[library->GetPath()];
  if (!decoder) decoder = codec.bind(std::move(library), reason);
  return decoder;
}

/// A decoder by a path, or by a name that the loader knows. Adds to the remark where a file is there and is of no use.
Decoder TryLibrary(const WaveletCodec& codec, const std::string& name, XString& remark) {
  XString reason;
  const std::shared_ptr<const SharedLibrary> library = SharedLibrary::Load(name, reason);
  if (library) {
    if (Decoder decoder = BindOnce(codec, library, reason)) return decoder;
  }
  const bool isPath = name.find('/') != std::string::npos;
  if (!library && !isPath) return nullptr;  // the loader has no such library
  const XString line = XString(" ") + (library ? library->GetPath() : name) + " is of no use: " + reason + ".";
  if (remark.Find(line.AsStdString()) < 0) remark += line;
  return nullptr;
}

Decoder FindMakersLibrary(const WaveletCodec& codec, XString& remark) {
  const XString folder = XfnGetCodecFolder();
  if (!folder.IsEmpty()) {
    for (const std::string& path : ListLibraries(folder.AsStdString(), codec.library)) {
      if (Decoder decoder = TryLibrary(codec, path, remark)) return decoder;
    }
  }
  if (Decoder decoder = TryLibrary(codec, codec.library, remark)) return decoder;
  for (const std::string& path : ListLoaderLibraries(codec.library)) {
    if (Decoder decoder = TryLibrary(codec, path, remark)) return decoder;
  }
  return nullptr;
}

/// Whatever a decoder throws is a failure like others. Memory that ran out is told to the caller.
std::unique_ptr<WaveletImage> OpenFenced(const WaveletDecoder& decoder, const XString& path, bool isExact,
                                         XString& reason) {
  try {
    std::unique_ptr<WaveletImage> image = decoder.Open(path, isExact, reason);
    if (image && !IsPossible(image->GetInfo(), reason)) image.reset();
    return image;
  } catch (const std::bad_alloc&) {
    throw;
  } catch (...) {
    reason = "The decoder has failed";
    return nullptr;
  }
}

}  // namespace

void TellCodec(const WaveletCodec& codec, tagXCodecState& state) {
  state.isNeeded = true;
  state.remark = codec.absent;
  Decoder decoder = FindMakersLibrary(codec, state.remark);
  if (!decoder) decoder = FindGdalDecoder(codec);
  if (!decoder) return;
  state.isFound = true;
  state.place = decoder->GetPlace();
  state.remark.Empty();
}

/// A library is given names only of files that are there: some would take others for addresses of a network.
OpenedWavelet OpenWavelet(const WaveletCodec& codec, const XString& path, bool isExact, XString& reason) {
  std::shared_ptr<DiskFile> file;
  if (CurrentDisk().Open(path.AsStdString(), {}, file) != 0) {
    reason = "The file can't be opened";
    return {};
  }
  XString remark;
  Decoder decoder = FindMakersLibrary(codec, remark);
  if (decoder) {
    if (auto image = OpenFenced(*decoder, path, isExact, reason)) return {std::move(image), decoder->GetPlace()};
  }
  decoder = FindGdalDecoder(codec);
  if (!decoder) {
    if (reason.IsEmpty()) reason = codec.absent + remark;
    return {};
  }
  XString reasonOfDriver;
  auto image = OpenFenced(*decoder, path, isExact, reasonOfDriver);
  if (reason.IsEmpty()) reason = reasonOfDriver;
  return {std::move(image), decoder->GetPlace()};
}

}  // namespace zrk

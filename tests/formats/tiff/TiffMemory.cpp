#include "TiffMemory.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace {

/// A file in memory for libtiff's callbacks; `TIFFClose` deletes it.
struct MemoryFile {
  std::vector<unsigned char>& bytes;
  std::size_t position = 0;
};

MemoryFile& FileOf(thandle_t handle) {
  return *static_cast<MemoryFile*>(handle);
}

tmsize_t Read(thandle_t handle, void* out, tmsize_t count) {
  MemoryFile& file = FileOf(handle);
  if (file.position >= file.bytes.size()) return 0;
  const std::size_t got = std::min(static_cast<std::size_t>(count), file.bytes.size() - file.position);
  std::memcpy(out, file.bytes.data() + file.position, got);
  file.position += got;
  return static_cast<tmsize_t>(got);
}

tmsize_t Write(thandle_t handle, void* in, tmsize_t count) {
  MemoryFile& file = FileOf(handle);
  const std::size_t end = file.position + static_cast<std::size_t>(count);
  if (end > file.bytes.size()) file.bytes.resize(end);
  std::memcpy(file.bytes.data() + file.position, in, static_cast<std::size_t>(count));
  file.position = end;
  return count;
}

toff_t Seek(thandle_t handle, toff_t offset, int origin) {
  MemoryFile& file = FileOf(handle);
  const std::size_t base = origin == SEEK_CUR ? file.position : origin == SEEK_END ? file.bytes.size() : 0;
  file.position = base + static_cast<std::size_t>(offset);
  return file.position;
}

toff_t Size(thandle_t handle) {
  return FileOf(handle).bytes.size();
}

int Close(thandle_t handle) {
  const std::unique_ptr<MemoryFile> file(&FileOf(handle));
  return 0;
}

/// libtiff 4.5 shows plain tiles of any size only where it can map the file.
int Map(thandle_t handle, void** base, toff_t* size) {
  *base = FileOf(handle).bytes.data();
  *size = FileOf(handle).bytes.size();
  return 1;
}

void Unmap(thandle_t, void*, toff_t) {}

int Drop(TIFF*, void*, const char*, const char*, va_list) {
  return 1;
}

}  // namespace

TiffPointer OpenTiffInMemory(std::vector<unsigned char>& bytes, const std::string& mode) {
  if (mode.front() == 'w') bytes.clear();
  TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
  TIFFOpenOptionsSetErrorHandlerExtR(options, &Drop, nullptr);
  TIFFOpenOptionsSetWarningHandlerExtR(options, &Drop, nullptr);
  auto file = std::make_unique<MemoryFile>(MemoryFile{bytes});
  TiffPointer tiff(TIFFClientOpenExt("memory", mode.c_str(), file.get(), &Read, &Write, &Seek, &Close, &Size, &Map,
                                     &Unmap, options));
  TIFFOpenOptionsFree(options);
  if (tiff) [[maybe_unused]]
    MemoryFile* taken = file.release();
  return tiff;
}

TiffRgba DecodeTiffRgba(std::vector<unsigned char> bytes) {
  const TiffPointer tiff = OpenTiffInMemory(bytes, "r");
  std::uint32_t width = 0, height = 0;
  if (!tiff || !TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width) ||
      !TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height)) {
    throw std::runtime_error("not a TIFF file");
  }
  TiffRgba image{static_cast<int>(width), std::vector<std::uint32_t>(std::size_t{width} * height)};
  if (!TIFFReadRGBAImageOriented(tiff.get(), width, height, image.pixels.data(), ORIENTATION_TOPLEFT, 1)) {
    throw std::runtime_error("libtiff can't show the file");
  }
  return image;
}

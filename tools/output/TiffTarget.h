#pragma once

#include "output/TargetFile.h"
#include "Window.h"

/// A TIFF file and its world file. Both take their names when both are whole, the image first. Until then they stand
/// beside these under names of their own, as in `TargetFile`.
class TiffTarget {
 public:
  TiffTarget() : image_(".tif", ".tfw") {}
  ~TiffTarget();
  TiffTarget(const TiffTarget&) = delete;
  TiffTarget& operator=(const TiffTarget&) = delete;

  // Each answers false with the reason in `err`.

  /// As `TargetFile::Begin`. The image is made of `band`. Where the band has a place in the world, the name of the
  /// world file has to be as free as that of the image. It must not be one by which a TIFF file `input` is placed.
  bool Begin(const std::string& path, const std::string& input, const ZRMBand& band, std::string& err);
  /// Writes the place of a window of the band into the world file, once the image is written. The writer of the image
  /// may have written a world file of its own. That one is of the whole band, without rotation, and is missing where
  /// only the place is known.
  bool TellPlace(const ZRMBand& band, const Window& window, std::string& err);
  /// Other world files by which the new image would be placed go away, unless `input` is placed by them. Where one
  /// can't be removed, the new image is there, and the answer is false all the same because its place is wrong.
  bool Commit(std::string& err);

  const std::string& GetUnfinishedPath() const { return image_.GetUnfinishedPath(); }

 private:
  bool CanHaveWorldFile(std::string& err) const;
  bool CommitWorldFile(std::string& err);
  void DiscardWorldFile();
  bool RemoveOldWorldFiles(std::string& err) const;

  TargetFile image_;
  std::string path_;
  std::string input_;
  std::string worldFile_;            // its name in the end
  std::string unfinishedWorldFile_;  // as writers of TIFF files name it; empty before `Begin` and after `Commit`
  bool hasPlace_ = false;
};

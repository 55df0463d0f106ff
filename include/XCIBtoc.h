#pragma once

#include "tagBoundaryRectangleRecordRPF.h"
#include "tagColortableIndexRecordRPF.h"
#include "tagFrameFileIndexRecordRPF.h"
#include "tagPathnameRecordRPF.h"
#include "XCIBbase.h"

#include <memory>

/// The table of contents of a raster map product: its boundary rectangles, and the frame files that fill them. It is
/// loaded whole and then asked; one thread uses an object at a time. No load throws, and frame files are not opened: a
/// frame that is listed may be missing on the disk.
class ZRKIO_API XCIBtoc : public XCIBbase {
 public:
  /// What a product is, by the word in its boundary rectangles: scanned maps (ADRG, and CADRG compressed), images
  /// (ADRI, and CIB compressed), and heights (DTED, and CDTED compressed). `kProductUnknown` stands for any other word.
  enum ProductDataType {
    kProductUnknown = 0,
    kProductADRG = 1,
    kProductADRI = 2,
    kProductCADRG = 3,
    kProductCIB = 4,
    kProductCDTED = 5,
    kProductDTED = 6
  };

  XCIBtoc();
  ~XCIBtoc() override;

  /// Reads a table of contents in place of what was loaded before; 1 or 0. After 0 the object is empty. No reason is
  /// told.
  int LoadFile(const XString& path);
  /// Frees all records; every count is 0 then. Pointers to records are no longer valid.
  void CleanUp();

  // Indices count from 0. A record is null where the index lies outside, and valid until the next load.

  /// The boundary rectangles; 1 or more after a load.
  int GetBoundaryRecSize() const;
  const tagBoundaryRectangleRecordRPF* GetBoundaryRecAt(int index) const;
  /// The frame files of all boundary rectangles together.
  int GetFrameRecordSize() const;
  const tagFrameFileIndexRecordRPF* GetFrameRecordAt(int index) const;
  /// Only those path records that frames refer to, in the order in which they first do.
  int GetPathRecordSize() const;
  const tagPathnameRecordRPF* GetPathRecordAt(int index) const;
  /// The path record of an offset as frame records hold it; null for an offset that the table does not list. A table
  /// that lists fewer paths than its frames use lacks the last of them.
  const tagPathnameRecordRPF* FindPathRecord(std::int32_t pathOffset) const;
  /// Returns 0 after a load; see `ReadColortableIndexSection`.
  int GetColortableRecordSize() const;
  const tagColortableIndexRecordRPF* GetColortableRecordAt(int index) const;

  /// A `ProductDataType`. Of boundary rectangles that differ the last one decides.
  int GetProductDataType() const;

  /// The name of a frame file in the form of the product's own systems. It has three parts: the path of the table of
  /// contents up to its last backslash, the stored path without its first two characters and with backslashes, and the
  /// file's name. A path without a backslash has its first character as directory. Empty where there is no such frame,
  /// or it has no name. `GetFramePath` is the one that opens.
  XString GetFrameFilename(int index) const;
  /// The same of the first frame in that place; empty for a place without a frame.
  XString GetFrameFilename(int row, int col, int boundary) const;

  /// The path of a frame file on this system: the folder of the table of contents, the stored path and the name. A part
  /// of the path that does not exist as it is stored is looked for in the folder without regard to letter case. A part
  /// that is not found in that way either stays as it is stored. So the path of a missing file tells where the file
  /// should be. The result is empty if there is no such frame or it has no name. It is also empty if the path leads out
  /// of the folder by "..", from a root, or by a link, unless `mayLeaveFolder` is set. Names of a folder are listed
  /// once a load at the most.
  XString GetFramePath(int index, bool mayLeaveFolder = false) const;

 protected:
  // Each takes the open file and the head of it in memory; either may be null. 1 or 0.

  /// The boundary rectangles, in place of those before; 0 for a file without any.
  int ReadBoundaryRectangleSection(XFile* file, const unsigned char* buffer, int bytes);
  /// The frame files and their paths, in place of those before.
  int ReadFrameFileIndexSection(XFile* file, const unsigned char* buffer, int bytes);
  /// The colour table records. A load does not read them: a derived class calls this.
  int ReadColortableIndexSection(XFile* file, const unsigned char* buffer, int bytes);

 private:
  void Forget();
  int Load(const XString& path);

  struct State;
  std::unique_ptr<State> state_;
};

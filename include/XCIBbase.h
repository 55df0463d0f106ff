#pragma once

#include "XExport.h"
#include "XString.h"

#include <cstdint>
#include <memory>

class XFile;

/// The header section of a file of the Raster Product Format. Texts are kept zero-terminated, padding included.
struct tagHeaderSectionRPF {
  unsigned char endianIndicator = 0;  ///< 0xFF for little-endian numbers, any other value for big-endian
  int headerSectionLength = 0;
  char fileName[13] = {};
  char updateIndicator = 0;  ///< new, replacement or update
  char standardNumber[16] = {};
  char standardDate[9] = {};
  char classification[2] = {};
  char country[3] = {};
  char releaseMarking[3] = {};
  std::int32_t locationSectionOffset = 0;
};

/// A record of the component table: where a section of the file lies.
struct tagComponentRPF {
  std::int32_t id = 0;
  std::int32_t length = 0;
  std::int32_t offset = 0;  ///< from the beginning of the file
};

/// What all files of the Raster Product Format begin with: a NITF wrapper, the header section, and the table of
/// components by which the sections are found. One thread uses an object at a time.
///
/// The readers of sections take the head of the file, which the caller holds in memory, and the open file behind it.
/// What lies wholly in the head is taken from it, anything else is read from the file; either may be null.
class ZRKIO_API XCIBbase {
 public:
  XCIBbase();
  virtual ~XCIBbase();
  XCIBbase(const XCIBbase&) = delete;
  XCIBbase& operator=(const XCIBbase&) = delete;

  /// Reads the head of a file into `buffer` and from it all up to the component table; `bytesRead` is what the head
  /// has. With no buffer, or one below 5 bytes, only the magic is read ahead. 1 or 0; the file is closed afterwards.
  int OpenHeaders(const XString& path, unsigned char* buffer, int bufferSize, int& bytesRead);
  /// Walks the NITF file header to the first byte of the header section; -1 where its lengths don't agree.
  std::int32_t FindRPFHeaderOffset(XFile* file, const unsigned char* buffer, int bytes) const;
  int ReadHeaderSection(XFile* file, const unsigned char* buffer, int bytes);
  int ReadLocationSection(XFile* file, const unsigned char* buffer, int bytes);

  const tagHeaderSectionRPF& GetHeaderSection() const;
  XString GetFilePath() const;
  bool IsLittleEndian() const;
  /// The component of an id, of several the last; null where there is none.
  const tagComponentRPF* FindComponent(int id) const;

  /// A number of 1 to 4 bytes, never extended by a sign: only all ones in 4 bytes equal -1.
  static std::int32_t ReadUnsigned(const unsigned char* bytes, int width, bool littleEndian);
  static double ReadDouble(const unsigned char* bytes, bool littleEndian);

 protected:
  /// Forgets path, header and components.
  void Reset();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

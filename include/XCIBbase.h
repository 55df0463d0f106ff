#pragma once

#include "XExport.h"
#include "XString.h"

#include <cstdint>
#include <memory>

class XFile;

/// The header section of a file of the Raster Product Format. Texts are kept zero-terminated, padding included. Nothing
/// is checked: the fields hold what the file claims.
struct tagHeaderSectionRPF {
  /// 0xFF for little-endian numbers in the whole file, any other value for big-endian ones.
  unsigned char endianIndicator = 0;
  /// Bytes of the section, as the file tells.
  int headerSectionLength = 0;
  /// The name that the file had when it was made, 12 characters.
  char fileName[13] = {};
  /// One character: new, replacement or update.
  char updateIndicator = 0;
  /// The standard that the file follows, and the date of that standard.
  char standardNumber[16] = {};
  char standardDate[9] = {};
  /// The security marking, the country and the marking of release. They are for people, and nothing is refused by them.
  char classification[2] = {};
  char country[3] = {};
  char releaseMarking[3] = {};
  /// Bytes from the beginning of the file; it may lead outside the file, where reading fails.
  std::int32_t locationSectionOffset = 0;
};

/// A record of the component table: where a section of the file lies. Offset and length are the file's own word, and
/// readers check them.
struct tagComponentRPF {
  /// The number of the kind of section, such as 0x82 for the coverage.
  std::int32_t id = 0;
  /// In bytes.
  std::int32_t length = 0;
  /// In bytes from the beginning of the file.
  std::int32_t offset = 0;
};

/// What all files of the Raster Product Format begin with: a NITF wrapper, the header section, and the table of
/// components by which the sections are found. One thread uses an object at a time.
///
/// The readers of sections take the head of the file, which the caller holds in memory, and the open file behind it.
/// Bytes that lie wholly in the head are taken from it, and others are read from the file. Either may be null. Nothing
/// here throws.
class ZRKIO_API XCIBbase {
 public:
  XCIBbase();
  virtual ~XCIBbase();
  XCIBbase(const XCIBbase&) = delete;
  XCIBbase& operator=(const XCIBbase&) = delete;

  /// Reads the head of a file into `buffer` and from it all up to the component table; `bytesRead` is what the head
  /// has. With no buffer, or one below 5 bytes, only the magic is read ahead. Returns 1 or 0; the file is closed
  /// afterwards.
  int OpenHeaders(const XString& path, unsigned char* buffer, int bufferSize, int& bytesRead);
  /// Walks the NITF file header to the first byte of the header section; -1 where its lengths don't agree.
  std::int32_t FindRPFHeaderOffset(XFile* file, const unsigned char* buffer, int bytes) const;
  /// Reads the 48 bytes of the header section, and from its first byte the byte order; 1 or 0.
  int ReadHeaderSection(XFile* file, const unsigned char* buffer, int bytes);
  /// Reads the component table in place of the one before; 1, or 0 where part of it is not in the file.
  int ReadLocationSection(XFile* file, const unsigned char* buffer, int bytes);

  /// The header as it was read last; all fields are empty before.
  const tagHeaderSectionRPF& GetHeaderSection() const;
  /// The path of the file, once it is known to be a NITF file; empty before.
  XString GetFilePath() const;
  /// The byte order of the numbers in the file, as the header tells; false before a header was read.
  bool IsLittleEndian() const;
  /// The component of an id, or null. The last one counts where several have the id. The record stays this object's,
  /// and is valid until the next load.
  const tagComponentRPF* FindComponent(int id) const;

  /// A number of 1 to 4 bytes, never extended by a sign: only all ones in 4 bytes equal -1. `bytes` has `width` of
  /// them.
  static std::int32_t ReadUnsigned(const unsigned char* bytes, int width, bool littleEndian);
  /// The number in 8 bytes, as IEEE 754 has it.
  static double ReadDouble(const unsigned char* bytes, bool littleEndian);

 protected:
  /// Forgets path, header and components.
  void Reset();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

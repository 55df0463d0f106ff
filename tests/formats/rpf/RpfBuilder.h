#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// The bytes of one record or section, put together number by number in the byte order of the file.
class RpfBytes {
 public:
  explicit RpfBytes(bool littleEndian) : littleEndian_(littleEndian) {}

  RpfBytes& U8(std::uint32_t value) { return Number(value, 1); }
  RpfBytes& U16(std::uint32_t value) { return Number(value, 2); }
  RpfBytes& U32(std::uint32_t value) { return Number(value, 4); }
  RpfBytes& F64(double value);
  /// Padded with blanks, or cut, to `length` characters.
  RpfBytes& Text(const std::string& text, std::size_t length);
  RpfBytes& Add(const std::vector<unsigned char>& bytes);
  RpfBytes& Zeros(std::size_t count);

  std::size_t Size() const { return bytes_.size(); }
  const std::vector<unsigned char>& Get() const { return bytes_; }

 private:
  RpfBytes& Number(std::uint64_t value, int width);

  bool littleEndian_;
  std::vector<unsigned char> bytes_;
};

/// Builds files of the Raster Product Format byte by byte: a NITF header, the RPF header in its user-defined data, the
/// location section, and the components in the order in which they are added, each directly behind the one before.
class RpfBuilder {
 public:
  RpfBuilder& LittleEndian();
  /// The NITF header with the date of a downgrading event, 40 bytes longer.
  RpfBuilder& LongLayout();
  /// Entries of the six lists of the NITF header; one image unless set.
  RpfBuilder& Segments(const std::array<int, 6>& counts);
  /// The subheader of the first image segment up to its user-defined data, which is the location section; two letters
  /// unless set. What follows is the data of the image.
  RpfBuilder& Image(const std::string& subheader);
  /// Bytes of an extended header behind the user-defined one.
  RpfBuilder& ExtendedHeader(int bytes);
  /// The header length that the NITF header claims; the true one unless set.
  RpfBuilder& ClaimHeaderLength(int bytes);
  /// The length of the extended header that the NITF header claims; the true one unless set.
  RpfBuilder& ClaimExtendedLength(int bytes);
  /// Leaves the NITF header out but for its magic, over the first bytes of an RPF header at byte 0.
  RpfBuilder& NoWrapper();
  /// Bytes of a record of the component table; 10 unless set.
  RpfBuilder& ComponentRecordBytes(int bytes);
  /// Bytes between the location section and the first component.
  RpfBuilder& Gap(std::size_t bytes);
  /// Adds a component; its record says where it lies.
  RpfBuilder& Component(int id, std::vector<unsigned char> bytes);
  /// Adds a record that says where something lies, without its bytes.
  RpfBuilder& ComponentAt(int id, std::uint32_t length, std::uint32_t offset);

  /// An empty record in the byte order of this file.
  RpfBytes Bytes() const { return RpfBytes(littleEndian_); }
  /// Where the RPF header begins, the location section, and the component that was added as `index`-th.
  std::size_t HeaderOffset() const;
  std::size_t LocationOffset() const { return HeaderOffset() + 48 + TailBytes(); }
  std::size_t ComponentOffset(std::size_t index) const;
  std::vector<unsigned char> Build() const;

 private:
  struct Part {
    int id;
    std::vector<unsigned char> bytes;
    bool isPlaced;
    std::uint32_t length;
    std::uint32_t offset;
  };

  std::size_t ListBytes() const;
  std::size_t LocationBytes() const { return 14 + parts_.size() * static_cast<std::size_t>(recordBytes_); }
  std::size_t UserHeader() const;
  std::size_t TailBytes() const;
  std::string MakeWrapper() const;
  std::string MakeImageHead() const;
  std::vector<unsigned char> MakeHeader() const;
  std::vector<unsigned char> MakeLocation() const;

  bool littleEndian_ = false;
  bool isLong_ = false;
  bool hasWrapper_ = true;
  std::array<int, 6> segments_ = {1, 0, 0, 0, 0, 0};
  std::string image_;
  int extendedBytes_ = 0;
  int claimedHeader_ = -1;
  int claimedExtended_ = -1;
  int recordBytes_ = 10;
  std::size_t gap_ = 0;
  std::vector<Part> parts_;
};

// libtiff's handle over our disk: blocks, messages, bounds of memory and reads that fail. The files are built byte by
// byte by `TiffBuilder`, so that the expected blocks are known without libtiff.

#include "codec/TiffHandle.h"

#include "base/Disk.h"
#include "FaultyDisk.h"
#include "TempFolder.h"
#include "TiffBuilder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <thread>

using testing::HasSubstr;
using zrk::TiffHandle;
using zrk::TiffMessages;

namespace {

constexpr std::int64_t kPlenty = 1 << 30;

class TiffHandles : public testing::Test {
 protected:
  std::unique_ptr<TiffHandle> Open(const TiffBuilder::Bytes& bytes, std::int64_t mostBytes = kPlenty) {
    folder_.Write("a.tif", bytes);
    std::shared_ptr<zrk::DiskFile> file;
    EXPECT_EQ(0, zrk::CurrentDisk().Open(folder_.Path("a.tif"), {}, file));
    return TiffHandle::Open(file, "the name", messages_, mostBytes);
  }
  std::string Message() const { return messages_->GetLast().AsStdString(); }

  TempFolder folder_;
  std::shared_ptr<TiffMessages> messages_ = std::make_shared<TiffMessages>();
};

/// A strip of an open file; empty where libtiff can't read it.
std::vector<unsigned char> ReadStrip(TIFF* tiff, std::uint32_t strip) {
  std::vector<unsigned char> bytes(static_cast<std::size_t>(TIFFStripSize(tiff)));
  const tmsize_t got = TIFFReadEncodedStrip(tiff, strip, bytes.data(), static_cast<tmsize_t>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(std::max<tmsize_t>(got, 0)));
  return bytes;
}

TEST_F(TiffHandles, ReadABlockThroughTheDisk) {
  const auto file = TiffBuilder().Size(20, 10).Strips(4);
  const auto handle = Open(file.Build());
  ASSERT_NE(nullptr, handle);
  const auto bytes = ReadStrip(handle->Get(), 1);
  ASSERT_EQ(80u, bytes.size());
  EXPECT_EQ(file.ValueAt(0, 4, 0), bytes[0]);
  EXPECT_EQ(file.ValueAt(19, 7, 0), bytes[79]);
  EXPECT_EQ("", Message());
}

TEST_F(TiffHandles, BearTheNameTheyAreGiven) {
  const auto handle = Open(TiffBuilder().Build());
  ASSERT_NE(nullptr, handle);
  EXPECT_STREQ("the name", TIFFFileName(handle->Get()));
}

TEST_F(TiffHandles, WhatIsNoTiffFileIsRefusedWithANote) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(nullptr, Open({'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_THAT(Message(), HasSubstr("Not a TIFF"));
  EXPECT_EQ(nullptr, Open({}));
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST_F(TiffHandles, MessagesGoNowhereElse) {
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  const auto handle = Open(TiffBuilder().Size(20, 10).Compression(5).Block(0, {1, 2, 3}).Encode());
  ASSERT_NE(nullptr, handle);
  EXPECT_TRUE(ReadStrip(handle->Get(), 0).empty());
  EXPECT_NE("", Message());
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

TEST_F(TiffHandles, TheLastMessageIsKept) {
  const auto note = [](TiffMessages& messages, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    messages.Note(format, arguments);
    va_end(arguments);
  };
  note(*messages_, "strip %d is %s", 7, "short");
  EXPECT_EQ("strip 7 is short", Message());
  const std::string text(100000, 'x');
  note(*messages_, "%s", text.c_str());
  EXPECT_EQ('x', Message().front());
  EXPECT_LE(Message().size(), text.size());
}

TEST_F(TiffHandles, DoNotCutLongStrips) {
  const auto handle = Open(TiffBuilder().Size(100, 900).Build());  // libtiff's own strips are of 8 KiB
  ASSERT_NE(nullptr, handle);
  EXPECT_EQ(1u, TIFFNumberOfStrips(handle->Get()));
  EXPECT_EQ(90000, TIFFStripSize(handle->Get()));
}

TEST_F(TiffHandles, NothingIsMapped) {
  FaultyDisk disk;
  disk.FailMap(1);
  const zrk::ScopedDisk scope(disk);
  const auto handle = Open(TiffBuilder().Size(20, 10).Build());
  ASSERT_NE(nullptr, handle);
  EXPECT_EQ(200u, ReadStrip(handle->Get(), 0).size());
  EXPECT_EQ(1, disk.GetOpenCount());
}

TEST_F(TiffHandles, AReadErrorFailsTheBlockOnly) {
  FaultyDisk disk;
  const zrk::ScopedDisk scope(disk);
  const auto handle = Open(TiffBuilder().Size(20, 10).Strips(5).Build());
  ASSERT_NE(nullptr, handle);
  ASSERT_EQ(100u, ReadStrip(handle->Get(), 0).size());
  disk.FailRead(disk.GetReadCount() + 1);
  EXPECT_TRUE(ReadStrip(handle->Get(), 1).empty());
  EXPECT_EQ(100u, ReadStrip(handle->Get(), 1).size());
}

/// The length of the colour profile of an open file.
std::uint32_t ProfileBytes(const TiffHandle* handle) {
  std::uint32_t count = 0;
  void* profile = nullptr;
  return handle && TIFFGetField(handle->Get(), TIFFTAG_ICCPROFILE, &count, &profile) ? count : 0;
}

TEST_F(TiffHandles, NoPieceOfMemoryIsLargerThanAllowed) {
  constexpr std::size_t kLength = 2 << 20;
  const auto file = TiffBuilder().Tag(TIFFTAG_ICCPROFILE, 1, std::vector<std::uint64_t>(kLength, 7)).Build();
  EXPECT_EQ(kLength, ProfileBytes(Open(file, 3 << 20).get()));
  EXPECT_EQ("", Message());
  EXPECT_EQ(0u, ProfileBytes(Open(file, 1 << 20).get()));
  EXPECT_THAT(Message(), HasSubstr("emory"));
}

TEST_F(TiffHandles, GeoTagsAreKnown) {
  const auto handle = Open(TiffBuilder().Reals(33550, {2.5, 3.5, 0.0}).Build());
  ASSERT_NE(nullptr, handle);
  std::uint16_t count = 0;
  double* scale = nullptr;
  ASSERT_EQ(1, TIFFGetField(handle->Get(), 33550, &count, &scale));
  ASSERT_EQ(3, count);
  EXPECT_EQ(2.5, scale[0]);
  EXPECT_EQ(3.5, scale[1]);
  EXPECT_EQ("", Message());
}

TEST_F(TiffHandles, TwoHandlesOfOneFileHavePlacesOfTheirOwn) {
  const auto file = TiffBuilder().Size(20, 10).Strips(5);
  const auto first = Open(file.Build());
  std::shared_ptr<zrk::DiskFile> disk;
  ASSERT_EQ(0, zrk::CurrentDisk().Open(folder_.Path("a.tif"), {}, disk));
  const auto second = TiffHandle::Open(disk, "a", messages_, kPlenty),
             third = TiffHandle::Open(disk, "a", messages_, kPlenty);
  ASSERT_TRUE(first && second && third);
  std::thread thread([&] {
    for (int i = 0; i < 100; ++i) EXPECT_EQ(file.ValueAt(0, 5, 0), ReadStrip(third->Get(), 1).at(0));
  });
  for (int i = 0; i < 100; ++i) EXPECT_EQ(file.ValueAt(0, 0, 0), ReadStrip(second->Get(), 0).at(0));
  thread.join();
}

}  // namespace

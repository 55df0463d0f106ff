#pragma once

/// One record of the colour table index of a table of contents. Nothing in this library interprets it. `XCIBtoc` owns
/// the record.
struct tagColortableIndexRecordRPF {
  /// Its first 12 characters as the file has them, and a zero.
  char text[13];
  /// The other bytes of the record, in the byte order of the file.
  unsigned char rest[50];
};

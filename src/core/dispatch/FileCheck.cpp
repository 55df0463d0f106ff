// Reasons of loads that loaders themselves do not tell. What is wrong with the file as such, whatever its format, is
// found before a loader sees it. What a loader calls a file that can't be opened is, after that, a matter of content.

#include "core/dispatch/FileCheck.h"

#include "base/Disk.h"
#include "core/dispatch/FormatTable.h"

#include <cerrno>
#include <cstring>
#include <string_view>

namespace {

XString TellOpenError(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return "No such file";
    case EISDIR:
      return "This is a folder and not a file";
    case EINVAL:
      return "This is not a regular file";
    default:
      return XString("The file can't be opened (") + std::strerror(error) + ")";
  }
}

}  // namespace

int XfnCheckFile(const XString& path, XString& err) {
  std::shared_ptr<zrk::DiskFile> file;
  if (const int error = zrk::CurrentDisk().Open(path.AsStdString(), {}, file)) {
    err = TellOpenError(error);
    return 0;
  }
  const std::int64_t size = file->Size();
  if (size > 0) return 1;
  err = size == 0 ? XString("The file is empty") : TellOpenError(static_cast<int>(-size));
  return 0;
}

namespace zrk {

XString ExplainFailedLoad(const FormatRow& row, const XString& path, const XString& err) {
  const std::string_view told = err;
  const bool tellsNothing = told.empty() || told == "Can't open file" || err == "Can't open file : " + path;
  if (!tellsNothing) return err;
  XString sentence;
  sentence.Format(MayBeOfRow(row, path) ? "The file is damaged, or is a kind of %s file that can't be read"
                                        : "The file is named as a %s file and does not begin as one",
                  row.format.name);
  return sentence;
}

}  // namespace zrk

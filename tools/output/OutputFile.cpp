// Where bytes go: a new file that takes its name when it is whole, standard output, or a special file such as a pipe or
// a device. The last two can't be replaced and are written as they stand.

#include "output/OutputFile.h"

#include "output/InputFiles.h"

#include <fcntl.h>
#include <unistd.h>
#include <cerrno>

OutputFile::~OutputFile() {
  if (kind_ == Kind::kSpecial) ::close(descriptor_);
}

bool OutputFile::Fail(std::string& err) const {
  err = CannotWrite(name_);
  return false;
}

bool OutputFile::Open(const std::string& path, const std::string& input, std::string& err) {
  name_ = path;
  if (path == "-") {
    kind_ = Kind::kStandardOutput;
    name_ = "standard output";
    descriptor_ = STDOUT_FILENO;
    // A shell may have opened it at the end of the very file that is read.
    return !WouldReplaceInput(descriptor_, input, err);
  }
  // A new file would take the place of the pipe or the device.
  if (IsSpecialFile(path)) {
    descriptor_ = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor_ < 0) return Fail(err);
    kind_ = Kind::kSpecial;
    return true;
  }
  if (!target_.Begin(path, input, err)) return false;
  kind_ = Kind::kTarget;
  descriptor_ = target_.GetDescriptor();
  return true;
}

/// A write may take a part only, and a signal may come in between.
bool OutputFile::Write(const void* data, std::size_t count, std::string& err) {
  for (const char* next = static_cast<const char*>(data); count > 0;) {
    const ssize_t put = ::write(descriptor_, next, count);
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) return Fail(err);
    next += put;
    count -= static_cast<std::size_t>(put);
  }
  return true;
}

/// Only a new file has a name to take.
bool OutputFile::Commit(std::string& err) {
  return kind_ != Kind::kTarget || target_.Commit(err);
}

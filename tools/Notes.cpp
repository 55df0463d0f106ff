#include "Notes.h"

#include "output/Text.h"

#include <cstdio>
#include <vector>

namespace {

bool isQuietRun = false;
std::vector<std::string> remarks;

}  // namespace

bool& QuietFlag() {
  return isQuietRun;
}

bool IsQuiet() {
  return isQuietRun;
}

void PrintNote(const std::string& file, const std::string& text) {
  if (!isQuietRun) std::fprintf(stderr, "%s: %s\n", Printable(file).c_str(), Printable(text).c_str());
}

void AddRemark(const std::string& text) {
  remarks.push_back(text);
}

void PrintRemarks(const std::string& file) {
  for (const std::string& remark : remarks) PrintNote(file, remark);
  remarks.clear();
}

#include "TempFolder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

TempFolder::TempFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "zrkio-test-XXXXXX").string();
  if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
  path_ = name;
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

void TempFolder::Write(const std::string& name, const std::vector<unsigned char>& bytes) const {
  Write(name, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

void TempFolder::Write(const std::string& name, std::string_view text) const {
  std::ofstream(Path(name), std::ios::binary).write(text.data(), static_cast<std::streamsize>(text.size()));
}

std::string SourcePath(const std::string& path) {
  return std::string(ZRK_SOURCE_DIR "/") + path;
}

std::string SharedDataDir() {
  if (const char* folder = std::getenv("ZRK_SHARED_DATA")) return folder;
  return SourcePath("../shared/data");
}

std::vector<unsigned char> ReadBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// A place for files that are gone afterwards.
#pragma once

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace harness {

inline std::set<std::wstring> NamesIn(const std::filesystem::path& folder) {
  std::set<std::wstring> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    names.insert(entry.path().filename().wstring());
  }
  return names;
}

// A new folder of the process's own, deleted with everything in it.
struct TemporaryFolder {
  TemporaryFolder() {
    static int count = 0;
    do {  // process numbers come again, and a killed run leaves its folders
      const auto name = std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count);
      path = std::filesystem::temp_directory_path() / (L"scan-test-" + name);
    } while (!std::filesystem::create_directory(path));
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  std::wstring File(const std::wstring& name) const { return (path / name).wstring(); }
  std::set<std::wstring> Names() const { return NamesIn(path); }
  std::filesystem::path path;
};

inline std::string Bytes(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Whether it begins and ends as a JPEG does; some devices fill the last block up.
inline bool IsWholeJpeg(const std::filesystem::path& path) {
  const std::string bytes = Bytes(path);
  const std::size_t end = bytes.rfind("\xFF\xD9");
  return bytes.rfind("\xFF\xD8", 0) == 0 && end != std::string::npos && bytes.size() - end <= 512;
}

// The names of previews in the temporary folder: the platform's placeholders and the pictures.
inline std::set<std::wstring> TemporaryPreviews() {
  std::set<std::wstring> names;
  for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::temp_directory_path())) {
    const std::wstring name = entry.path().filename().wstring();
    if (name.rfind(L"RVX", 0) == 0) {
      names.insert(name);
    }
  }
  return names;
}

}  // namespace harness

// The pages that are measured with.
#pragma once

#include <span>
#include <string>
#include <vector>

namespace bench {

struct Page {
  std::string name;   // for example "A4 300 dpi, noise"
  std::wstring file;  // a JPEG of it, not to be changed
  int widthMm = 0;
  int heightMm = 0;
  int dpi = 0;
  bool noise = false;  // photographic noise all over, which is dear to code; otherwise text and drawings on white
};

// A4 at 75, 200, 300 and 600 dpi and A3 at 600 dpi, each easy and with noise; made in the folder where they are
// missing.
std::vector<Page> MakePages(const std::wstring& folder);

const Page& FindPage(std::span<const Page> pages, const std::string& name);

}  // namespace bench

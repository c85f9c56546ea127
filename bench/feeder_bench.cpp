// The final scan of a stack of pages against the same transfer into plain files.
#include <windows.h>

#include <psapi.h>
#include <shlwapi.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <iterator>

#include "bench/bench.h"
#include "platform/scoped.h"
#include "simulator/simulated_scanner.h"

namespace bench {
namespace {

// A client that numbers its files and does nothing else.
class PlainFiles final : public IWiaTransferCallback {
 public:
  explicit PlainFiles(std::wstring folder) : m_folder(std::move(folder)) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }  // on the stack
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE TransferCallback(LONG, WiaTransferParams*) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE GetNextStream(LONG, BSTR, BSTR, IStream** stream) override {
    const std::wstring file = m_folder + L"\\Page (" + std::to_wstring(++m_pages) + L").JPG";
    return SHCreateStreamOnFileEx(file.c_str(), STGM_READWRITE, FILE_ATTRIBUTE_NORMAL, TRUE, nullptr, stream);
  }

 private:
  std::wstring m_folder;
  int m_pages = 0;
};

// What one transfer took: seconds of each page, and memory in use after the first tenth and at the end.
struct Transfer {
  std::vector<double> pages;
  double memoryEarly = 0.0;
  double memoryLate = 0.0;
};

double MemoryInUse() {
  PROCESS_MEMORY_COUNTERS counters = {};
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return static_cast<double>(counters.WorkingSetSize);
}

// Runs a transfer into an empty folder. A page lasts from the end of the one before it to its own.
Transfer TimePages(simulator::SimulatedScanner& scanner, int count, const std::wstring& folder,
                   const Action& transferAll) {
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  Transfer transfer;
  transfer.pages.reserve(static_cast<std::size_t>(count));
  LARGE_INTEGER frequency = {};
  LARGE_INTEGER last = {};
  QueryPerformanceFrequency(&frequency);
  simulator::FaultPlan plan;
  plan.hook = [&](const simulator::TransferPoint& point) {
    LARGE_INTEGER now = {};
    QueryPerformanceCounter(&now);
    if (point.stage == simulator::TransferPoint::Stage::pageDone) {
      transfer.pages.push_back(static_cast<double>(now.QuadPart - last.QuadPart) /
                               static_cast<double>(frequency.QuadPart));
      (point.page < count / 10 ? transfer.memoryEarly : transfer.memoryLate) = MemoryInUse();
      QueryPerformanceCounter(&last);
    } else if (point.stage == simulator::TransferPoint::Stage::start) {
      last = now;
    }
  };
  scanner.SetFaults(plan);
  transferAll();
  scanner.ClearLog();
  return transfer;
}

void MeasureStack(BenchDialog& d, simulator::SimulatedScanner& scanner, IWiaTransfer* plainTransfer, int count,
                  int rounds, const std::wstring& folder) {
  std::vector<double> ratios;
  std::vector<double> memory;
  for (int i = 0; i < rounds; ++i) {
    Transfer sides[2];
    for (const bool isOurs : {i % 2 == 0, i % 2 != 0}) {
      sides[isOurs] = TimePages(scanner, count, folder, [&] {
        if (isOurs) {
          d.TransferImage(0);
        } else {
          PlainFiles callback(folder);
          plainTransfer->Download(0, &callback);
        }
      });
      sides[isOurs].pages.resize(static_cast<std::size_t>(count), INFINITY);  // what is missing spoils the figure
    }
    std::transform(sides[true].pages.begin(), sides[true].pages.end(), sides[false].pages.begin(),
                   std::back_inserter(ratios), std::divides<>());
    memory.push_back(sides[true].memoryLate / sides[true].memoryEarly);
  }
  const std::string figure = "final scan of " + std::to_string(count) + (count == 1 ? " page" : " pages");
  PrintFigure(figure + ": a page", "the same page into a plain file", ratios, 1.02);
  if (count > 1) {
    PrintFigure(figure + ": memory at the end", "memory after a tenth", memory, 1.02);
  }
}

platform::ComPtr<IWiaTransfer> FeederTransfer(IWiaItem2* root) {
  platform::ComPtr<IEnumWiaItem2> children;
  platform::ComPtr<IWiaItem2> feeder;
  root->EnumChildItems(&WIA_CATEGORY_FEEDER, &children);
  children->Next(1, &feeder, nullptr);
  return platform::Query<IWiaTransfer>(feeder.Get(), IID_IWiaTransfer);
}

}  // namespace

void MeasureFeeder(const std::wstring& folder) {
  const std::wstring target = folder + L"\\stack";
  const platform::BasicString folderName(SysAllocString(target.c_str()));
  const platform::BasicString fileName(SysAllocString(L"Page"));
  for (const int count : {1, 50, 500}) {
    simulator::ScannerConfiguration configuration;
    configuration.feederPages = count;
    simulator::SimulatedScanner scanner(configuration);
    const platform::ComPtr<IWiaItem2> root = scanner.Root();
    DEVICEDIALOGDATA2 request = {};
    request.pIWiaItemRoot = root.Get();
    request.bstrFolderName = folderName.get();
    request.bstrFilename = fileName.get();
    BenchDialog dialog;
    dialog.Run(request, [&](BenchDialog& d) {
      d.TransferImage(0);  // the simulator draws the page once
      const int rounds = count == 1 ? 301 : count == 50 ? 25 : 9;
      MeasureStack(d, scanner, FeederTransfer(root.Get()).Get(), count, rounds, target);
    });
  }
  std::filesystem::remove_all(target);
}

}  // namespace bench

// The dialog's opening and closing against its bare template, and the library's loading.
#include <windows.h>

#include <commctrl.h>

#include <vector>

#include "bench/bench_dialog.h"
#include "bench/measure.h"
#include "platform/module_instance.h"
#include "platform/scoped.h"
#include "resources/resource_ids.h"
#include "simulator/simulated_scanner.h"

namespace bench {
namespace {

// What the user reads in a control.
struct Content {
  int control;
  std::wstring text;
  std::vector<std::wstring> entries;
  LRESULT selected;
};

bool IsList(HWND window) {
  wchar_t name[32] = {};
  GetClassNameW(window, name, 32);
  return ::lstrcmpiW(name, L"ComboBox") == 0;
}

std::vector<Content> ReadContents(HWND hDlg) {
  std::vector<Content> contents;
  for (HWND child = GetWindow(hDlg, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
    wchar_t text[256] = {};
    GetWindowTextW(child, text, 256);
    Content content = {GetDlgCtrlID(child), text, {}, CB_ERR};
    const LRESULT count = IsList(child) ? SendMessageW(child, CB_GETCOUNT, 0, 0) : 0;
    for (LRESULT i = 0; i < count; ++i) {
      SendMessageW(child, CB_GETLBTEXT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(text));
      content.entries.emplace_back(text);
      content.selected = SendMessageW(child, CB_GETCURSEL, 0, 0);
    }
    if (content.control != IDC_STATUS_BAR) {
      contents.push_back(content);
    }
  }
  return contents;
}

void Fill(HWND hDlg, const std::vector<Content>& contents) {
  for (const Content& content : contents) {
    const HWND control = GetDlgItem(hDlg, content.control);
    if (content.entries.empty()) {
      if (!content.text.empty()) {
        SetWindowTextW(control, content.text.c_str());
      }
      continue;
    }
    for (const std::wstring& entry : content.entries) {
      SendMessageW(control, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(entry.c_str()));
    }
    SendMessageW(control, CB_SETCURSEL, static_cast<WPARAM>(content.selected), 0);
  }
  CreateWindowExW(0, STATUSCLASSNAMEW, nullptr, WS_CHILD | WS_VISIBLE | CCS_BOTTOM, 0, 0, 0, 0, hDlg, nullptr,
                  g_hInstance, nullptr);
}

struct BareDialog {
  const std::vector<Content>& contents;
  const Action& opened;
};

INT_PTR CALLBACK BareDialogProc(HWND hDlg, UINT message, WPARAM /*wParam*/, LPARAM lParam) {
  constexpr UINT kOpened = WM_APP + 1;
  if (message == WM_INITDIALOG) {
    Fill(hDlg, reinterpret_cast<const BareDialog*>(lParam)->contents);
    PostMessageW(hDlg, kOpened, 0, lParam);
  } else if (message == kOpened) {
    simulator::HandleMessages(hDlg);
    reinterpret_cast<const BareDialog*>(lParam)->opened();
    EndDialog(hDlg, IDCANCEL);
  }
  return FALSE;
}

// Seconds until a dialog can be used, and until it is closed again.
struct OpenClose {
  double open = 0.0;
  double all = 0.0;
};

OpenClose TimeDialog(const std::function<void(const Action& opened)>& run) {
  OpenClose result;
  LARGE_INTEGER frequency = {};
  LARGE_INTEGER start = {};
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&start);
  const auto elapsed = [&] {
    LARGE_INTEGER now = {};
    QueryPerformanceCounter(&now);
    return static_cast<double>(now.QuadPart - start.QuadPart) / static_cast<double>(frequency.QuadPart);
  };
  run([&] { result.open = elapsed(); });
  result.all = elapsed();
  return result;
}

void MeasureDialogs() {
  constexpr int kRounds = 41;
  const simulator::SimulatedScanner scanner;
  const platform::ComPtr<IWiaItem2> root = scanner.Root();
  DEVICEDIALOGDATA2 request = {};
  request.pIWiaItemRoot = root.Get();
  std::vector<Content> contents;
  BenchDialog().Run(request, [&](BenchDialog& d) { contents = ReadContents(d.m_hDlg); });

  const auto ours = [&](const Action& opened) { BenchDialog().Run(request, [&](BenchDialog&) { opened(); }); };
  const auto bare = [&](const Action& opened) {
    const BareDialog dialog{contents, opened};
    DialogBoxParamW(g_hInstance, MAKEINTRESOURCEW(IDD_SCAN_DIALOG), nullptr, BareDialogProc,
                    reinterpret_cast<LPARAM>(&dialog));
  };
  std::vector<double> open;
  std::vector<double> all;
  for (int i = 0; i < kRounds; ++i) {
    OpenClose times[2];
    for (const bool isOurs : {i % 2 == 0, i % 2 != 0}) {
      times[isOurs] = isOurs ? TimeDialog(ours) : TimeDialog(bare);
    }
    open.push_back(times[true].open / times[false].open);
    all.push_back(times[true].all / times[false].all);
  }
  PrintFigure("dialog open until it can be used", "bare template with the same texts", open, 1.3);
  PrintFigure("open-close cycle", "bare template with the same texts", all, kNoTarget);
}

}  // namespace

void MeasureOpening(const std::wstring& library) {
  MeasureDialogs();
  // The dialogs' resources come from a library that stays loaded: a copy beside it is loaded and unloaded.
  const std::wstring copy = library + L".copy.dll";
  CopyFileW(library.c_str(), copy.c_str(), FALSE);
  const auto load = [&](DWORD flags) { FreeLibrary(LoadLibraryExW(copy.c_str(), nullptr, flags)); };
  PrintFigure("load and unload", "mapping the file alone",
              Ratios(Interleave(41, [&] { load(0); }, [&] { load(LOAD_LIBRARY_AS_DATAFILE); })), kNoTarget);
  DeleteFileW(copy.c_str());
}

}  // namespace bench

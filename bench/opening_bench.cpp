// The dialog's opening against its bare template, filled with the same texts.
#include <windows.h>

#include <commctrl.h>

#include "bench/bench.h"
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
  std::vector<std::wstring> entries;  // a list's
  LRESULT selected;
};

std::vector<Content> ReadContents(HWND hDlg) {
  std::vector<Content> contents;
  for (HWND child = GetWindow(hDlg, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
    wchar_t text[256] = {};
    wchar_t name[32] = {};
    GetClassNameW(child, name, 32);
    GetWindowTextW(child, text, 256);
    Content content = {GetDlgCtrlID(child), text, {}, CB_ERR};
    const bool isList = lstrcmpiW(name, L"ComboBox") == 0;
    const LRESULT count = isList ? SendMessageW(child, CB_GETCOUNT, 0, 0) : 0;
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
    for (const std::wstring& entry : content.entries) {
      SendMessageW(control, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(entry.c_str()));
    }
    if (!content.entries.empty()) {
      SendMessageW(control, CB_SETCURSEL, static_cast<WPARAM>(content.selected), 0);
    } else if (!content.text.empty()) {
      SetWindowTextW(control, content.text.c_str());
    }
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
    harness::HandleMessages(hDlg);
    reinterpret_cast<const BareDialog*>(lParam)->opened();
    EndDialog(hDlg, IDCANCEL);
  }
  return FALSE;
}

// Seconds from the start until a dialog can be used.
double TimeToOpen(const std::function<void(const Action& opened)>& run) {
  LARGE_INTEGER frequency = {};
  LARGE_INTEGER start = {};
  LARGE_INTEGER open = {};
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&start);
  run([&] { QueryPerformanceCounter(&open); });
  return static_cast<double>(open.QuadPart - start.QuadPart) / static_cast<double>(frequency.QuadPart);
}

}  // namespace

void MeasureOpening() {
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
  PrintFigure("dialog open until it can be used", "bare template with the same texts",
              Compare(41, [&](int) { return TimeToOpen(ours); }, [&](int) { return TimeToOpen(bare); }), 1.3);
}

}  // namespace bench

#include "bench/bench_dialog.h"

#include "resources/lang_resource.h"
#include "simulator/gdiplus_session.h"

namespace bench {
namespace {

constexpr UINT kRunScript = WM_APP + 1;

}  // namespace

INT_PTR BenchDialog::OnInitDialog(HWND hDlg, WPARAM wParam, LPARAM lParam) {
  const INT_PTR result = SCAN_DIALOG::OnInitDialog(hDlg, wParam, lParam);
  PostMessageW(hDlg, kRunScript, 0, 0);
  return result;
}

INT_PTR BenchDialog::OnAppMessage(HWND hDlg, UINT message, WPARAM /*wParam*/, LPARAM /*lParam*/) {
  if (message == kRunScript) {
    simulator::HandleMessages(hDlg);
    m_script(*this);
    EndDialog(hDlg, IDCANCEL);
  }
  return FALSE;
}

void BenchDialog::Run(DEVICEDIALOGDATA2& request, const Script& script) {
  const simulator::GdiplusSession gdiplus;
  m_script = script;
  DoModal(&request);
  delete g_pLangResource;
  g_pLangResource = nullptr;
}

}  // namespace bench

// Runs the real dialog, made from the built library's resources, and hands it to a script inside its message loop.
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/module_instance.h"
#include "resources/lang_resource.h"
#include "resources/resource_ids.h"
#include "scan_dialog/scan_dialog.h"
#include "tests/support/allocation_fault.h"
#include "tests/support/dialog_driver.h"
#include "tests/support/image_samples.h"
#include "tests/support/simulated_user.h"

namespace harness {

// The built library, loaded beside the test program; g_hInstance points at it while the tests run.
HMODULE Library();
std::filesystem::path LibraryPath();

using simulator::AllocationFault, simulator::DialogDriver, simulator::HandleMessages, simulator::MessageBoxCloser;

class TestDialog : public SCAN_DIALOG {
 public:
  using Script = std::function<void(TestDialog&)>;
  static constexpr UINT kRunScript = WM_APP + 0x77;

  using BASE_DIALOG::m_bButtonDown, BASE_DIALOG::m_bMouseInPane, BASE_DIALOG::m_bPanTool, BASE_DIALOG::m_bRightToLeft;
  using BASE_DIALOG::m_bSelecting, BASE_DIALOG::m_bSelectTool, BASE_DIALOG::m_bZoomTool, BASE_DIALOG::m_hDlg;
  using BASE_DIALOG::m_pDeviceDialogData;
  using SCAN_DIALOG::ClearPane, SCAN_DIALOG::DrawPreviewImage, SCAN_DIALOG::DrawSelectionFrame;
  using SCAN_DIALOG::EraseSelectionFrame, SCAN_DIALOG::GetImageEditParams, SCAN_DIALOG::OnZoomComboChange;
  using SCAN_DIALOG::m_bFrameHidden, SCAN_DIALOG::m_bInch, SCAN_DIALOG::m_bPreviewLoaded;
  using SCAN_DIALOG::m_bHasFeeder, SCAN_DIALOG::m_bRes400, SCAN_DIALOG::m_bRes600, SCAN_DIALOG::m_bRepaintPreview;
  using SCAN_DIALOG::m_bTransferring, SCAN_DIALOG::m_bZoomIn, SCAN_DIALOG::m_dZoom, SCAN_DIALOG::m_nRotation;
  using SCAN_DIALOG::m_dImageHeightMm, SCAN_DIALOG::m_dImageWidthMm, SCAN_DIALOG::m_nImageDpiX;
  using SCAN_DIALOG::m_hCurCross, SCAN_DIALOG::m_hCurPan, SCAN_DIALOG::m_hCurPanning, SCAN_DIALOG::m_hCurSizeNWSE;
  using SCAN_DIALOG::m_hCurZoomIn, SCAN_DIALOG::m_hCurZoomOut;
  using SCAN_DIALOG::m_nImageDpiY, SCAN_DIALOG::m_nImageHeight, SCAN_DIALOG::m_nImageWidth;
  using SCAN_DIALOG::m_nScrollX, SCAN_DIALOG::m_nScrollY, SCAN_DIALOG::m_siHorz, SCAN_DIALOG::m_siVert;
  using SCAN_DIALOG::m_ptAnchor, SCAN_DIALOG::m_ptMouse, SCAN_DIALOG::m_rcFrame, SCAN_DIALOG::m_rcPane;
  using SCAN_DIALOG::m_rcSelection, SCAN_DIALOG::m_wstrPreviewFile, SCAN_DIALOG::PointerPosition;
  using SCAN_DIALOG::ReadSettings, SCAN_DIALOG::SetDefaults, SCAN_DIALOG::TransferImage;
  using SCAN_DIALOG::RotateSelection, SCAN_DIALOG::SyncZoomCombo, SCAN_DIALOG::UpdateAreaReadout;
  using SCAN_DIALOG::UpdateScrollBars, SCAN_DIALOG::ZoomInAt, SCAN_DIALOG::ZoomOutAt, SCAN_DIALOG::m_hCurArrow;

  INT_PTR OnInitDialog(HWND hDlg, WPARAM wParam, LPARAM lParam) override {
    const INT_PTR result = SCAN_DIALOG::OnInitDialog(hDlg, wParam, lParam);
    PostMessageW(hDlg, kRunScript, 0, 0);
    return result;
  }
  INT_PTR OnAppMessage(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam) override {
    if (message == kRunScript && script) {
      HandleMessages(hDlg);
      const Script once = std::move(script);
      script = nullptr;
      once(*this);
      if (IsWindowVisible(hDlg)) {  // not when a command has ended it: EndDialog hides the window at once
        EndDialog(hDlg, IDCANCEL);
      }
    }
    return SCAN_DIALOG::OnAppMessage(hDlg, message, wParam, lParam);
  }

  HWND Control(int id) const { return GetDlgItem(m_hDlg, id); }
  LRESULT Send(int id, UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const {
    return SendDlgItemMessageW(m_hDlg, id, message, wParam, lParam);
  }
  void Command(int id, int notification = 0) {
    SendMessageW(m_hDlg, WM_COMMAND, MAKEWPARAM(id, notification), reinterpret_cast<LPARAM>(Control(id)));
  }
  bool Enabled(int id) const { return IsWindowEnabled(Control(id)) != FALSE; }
  std::wstring Text(int id) const {
    wchar_t text[1024] = {};
    GetWindowTextW(id == 0 ? m_hDlg : Control(id), text, 1024);
    return text;
  }
  std::wstring StatusText(int part) const {
    wchar_t text[256] = {};
    Send(IDC_STATUS_BAR, SB_GETTEXTW, static_cast<WPARAM>(part), reinterpret_cast<LPARAM>(text));
    return text;
  }
  // A pixel of the screen at unmirrored dialog client coordinates.
  COLORREF PixelAt(int x, int y) const {
    RECT client = {};
    GetClientRect(m_hDlg, &client);
    MapWindowPoints(m_hDlg, nullptr, reinterpret_cast<POINT*>(&client), 2);
    const platform::WindowDC screen(GetDesktopWindow());
    return GetPixel(screen.get(), client.left + x, client.top + y);
  }

  Script script;
};

// Runs a dialog modally for this request and calls the script once it is shown; the dialog ends with the script, or
// when the script ended it. Its end code.
INT_PTR RunDialog(TestDialog& dialog, const TestDialog::Script& script, DEVICEDIALOGDATA2* request = nullptr);

}  // namespace harness

// Loading a preview, and turning it with its selection frame.

#include "platform/debug_trace.h"
#include "resources/resource_ids.h"
#include "scan_dialog/scan_dialog.h"
#include "scanning/image_file.h"
#include <strsafe.h>

namespace {

page::Turn TurnOf(int command) {
  switch (command) {
    case IDM_ROTATE_UPSIDE_DOWN:
      return page::Turn::UpsideDown;
    case IDM_ROTATE_RIGHT:
      return page::Turn::Right;
    case IDM_ROTATE_LEFT:
      return page::Turn::Left;
    default:
      return page::Turn::None;
  }
}

}  // namespace

void SCAN_DIALOG::UpdatePreviewImage(const wchar_t* i_wstrPreviewFile) {
  DebugTrace(L"[in]SCAN_DIALOG::UpdatePreviewImage : i_wstrPreviewFile=%s", i_wstrPreviewFile);
  ZeroMemory(m_wstrPreviewFile, sizeof(m_wstrPreviewFile));
  if (i_wstrPreviewFile == nullptr || FAILED(StringCchCopyW(m_wstrPreviewFile, MAX_PATH, i_wstrPreviewFile))) {
    m_wstrPreviewFile[0] =
        L'\0';  // a path that was cut would name another file, which must not be rewritten or deleted
  }
  DebugTrace(L"[in]SCAN_DIALOG::UpdatePreviewImage : m_wstrPreviewFile=%s", m_wstrPreviewFile);
  ResetPreviewState();
  ClearAreaReadout();
  EnablePreviewControls(true);
  m_bRepaintPreview = true;
  // Enabling a control makes it paint itself, which must not come after the picture.
  UpdateWindow(GetDlgItem(m_hDlg, IDC_PREVIEW_PANE));
  RotatePreview(m_hDlg, 0);
  UpdateScrollBars(m_hDlg, true);
  m_bPreviewLoaded = true;
}

void SCAN_DIALOG::RotatePreview(HWND hDlg, int command) {
  EndDrag(hDlg);
  rotateImageFile(command);
  DrawPreviewImage(hDlg, 0, 0, PreviewDrawMode::DrawReset, preview::kScaleAt100Percent);
  m_bFrameHidden = true;  // the frame went with the picture that it stood on
  m_dZoom = preview::kScaleAt100Percent;
  SyncZoomCombo(hDlg);
  UpdateScrollBars(hDlg, false);
  // A frame that is scrolled out of view is turned too: the final scan is cut to it, seen or not.
  const bool hasFrame = m_rcSelection.hasArea();
  if (hasFrame) {
    RotateSelection(command);
  }
  // The menu opens on a disabled button, too: without a preview nothing is turned, and neither is the scan then.
  if (HasPreview()) {
    m_nRotation = (m_nRotation + page::DegreesOf(TurnOf(command))) % 360;
  }
  if (!hasFrame) {
    ClearAreaReadout();
    DrawPaneBorder(platform::WindowDC(hDlg).get());
    return;
  }
  DrawSelectionFrame(hDlg);
  UpdateAreaReadout(hDlg, AreaReadout::PositionAndSize, m_rcSelection.left, m_rcSelection.top, m_rcSelection.width(),
                    m_rcSelection.height());
}

void SCAN_DIALOG::RotateSelection(int command) {
  m_rcSelection = preview::TurnFrame(m_rcSelection, TurnOf(command), m_dImageWidthMm, m_dImageHeightMm);
}

BOOL SCAN_DIALOG::rotateImageFile(int command) {
  DebugTrace(L"[in]SCAN_DIALOG::rotateImageFile : m_wstrPreviewFile=%s", m_wstrPreviewFile);
  if (!HasPreview()) {
    return FALSE;
  }
  return scanning::TurnImageFile(m_wstrPreviewFile, TurnOf(command));
}

SCAN_DIALOG::~SCAN_DIALOG() {
  if (HasPreview()) {
    DeleteFileW(m_wstrPreviewFile);
  }
}

// The pane itself: preview state, drawing of the image, scroll bars and paint requests.

#include "core/settings_catalogue.h"
#include "platform/debug_trace.h"
#include "platform/gdiplus_owners.h"
#include "resources/resource_ids.h"
#include "scan_dialog/scan_dialog.h"
#include "scanning/image_file.h"

namespace gdip = Gdiplus::DllExports;

namespace {

// length: the side of its client area along which the bar scrolls.
void SetScrollBar(HWND scrollBar, LONG RECT::* length, SCROLLINFO& info, const preview::AxisView& view, bool reset) {
  RECT client = {};
  GetClientRect(scrollBar, &client);
  info.cbSize = sizeof(info);
  info.fMask = SIF_RANGE | SIF_PAGE | SIF_POS;
  info.nMin = 0;
  info.nMax = static_cast<int>(view.imageSize);
  info.nPage = preview::ImagePixelsIn(client.*length, view.zoom);
  info.nPos = reset ? 0 : view.scroll;
  SCROLLINFO shown = {};
  shown.cbSize = sizeof(shown);
  shown.fMask = info.fMask;
  // Setting what the bar shows already would paint it once more.
  if (!GetScrollInfo(scrollBar, SB_CTL, &shown) || shown.nMin != info.nMin || shown.nMax != info.nMax ||
      shown.nPage != info.nPage || shown.nPos != info.nPos) {
    SetScrollInfo(scrollBar, SB_CTL, &info, TRUE);
  }
}

}  // namespace

preview::AxisView SCAN_DIALOG::HorizontalView(double zoom) const {
  return {m_rcPane.left, m_rcPane.right, m_nScrollX, m_nImageWidth, m_nImageDpiX, zoom};
}

preview::AxisView SCAN_DIALOG::VerticalView(double zoom) const {
  return {m_rcPane.top, m_rcPane.bottom, m_nScrollY, m_nImageHeight, m_nImageDpiY, zoom};
}

void SCAN_DIALOG::ResetPreviewState() {
  m_dImageWidthMm = 0.0;
  m_dImageHeightMm = 0.0;
  m_bButtonDown = false;
  m_bFrameHidden = true;
  m_bPanTool = false;
  m_bSelectTool = false;
  m_bMouseInPane = false;
  m_bZoomTool = false;
  m_bSelecting = false;
  m_rcFrame = {};
  m_ptMouse = {};
  m_ptAnchor = {};
  m_nScrollX = 0;
  m_nScrollY = 0;
  m_nImageWidth = 0;
  m_nImageHeight = 0;
  m_nImageDpiX = 0;
  m_nImageDpiY = 0;
  m_rcSelection = {};
  m_nRotation = 0;
  // Without a tool no pointer movement arrives any more that would give the capture up.
  ReleasePaneCapture(m_hDlg);
}

void SCAN_DIALOG::EnablePreviewControls(bool enabled) {
  for (const int control : {IDC_PREVIEW_PANE, IDC_ZOOM_LIST, IDC_TOOL_SELECT, IDC_TOOL_ZOOM, IDC_TOOL_ROTATE,
                            IDC_TOOL_PAN, IDC_VERTICAL_SCROLL, IDC_HORIZONTAL_SCROLL}) {
    EnableWindow(GetDlgItem(m_hDlg, control), enabled);
  }
}

void SCAN_DIALOG::ClearPreview() {
  if (HasPreview()) {
    DeleteFileW(m_wstrPreviewFile);
  }
  ZeroMemory(m_wstrPreviewFile, sizeof(m_wstrPreviewFile));
  ResetPreviewState();
  m_bRepaintPreview = false;
  ClearAreaReadout();
  EnablePreviewControls(false);
  SendDlgItemMessageW(m_hDlg, IDC_ZOOM_LIST, CB_SETCURSEL, settings::kZoomDefaultIndex, 0);
  // The pane control paints nothing, so the old picture would stand until something covers it. The dialog's client
  // coordinates are mirrored in a right-to-left one, m_rcPane is not: hence the way by the screen.
  const HWND pane = GetDlgItem(m_hDlg, IDC_PREVIEW_PANE);
  RECT area = {};
  GetWindowRect(pane, &area);
  MapWindowPoints(nullptr, m_hDlg, reinterpret_cast<POINT*>(&area), 2);
  RedrawWindow(pane, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME);
  RedrawWindow(m_hDlg, &area, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN | RDW_UPDATENOW);
}

void SCAN_DIALOG::ApplyScrollRule(UINT x, UINT y, PreviewDrawMode mode, double zoom) {
  if (mode == PreviewDrawMode::DrawReset) {
    m_nScrollX = 0;
    m_nScrollY = 0;
  }
  if (mode == PreviewDrawMode::DrawZoomAtPoint) {
    m_nScrollX = preview::CentredScroll(x, HorizontalView(zoom));
    m_nScrollY = preview::CentredScroll(y, VerticalView(zoom));
  }
  if (mode == PreviewDrawMode::DrawRepaint) {
    return;
  }
  if (mode != PreviewDrawMode::DrawScrollY) {
    m_nScrollX = preview::ClampScroll(HorizontalView(zoom));
  }
  if (mode != PreviewDrawMode::DrawScrollX) {
    m_nScrollY = preview::ClampScroll(VerticalView(zoom));
  }
}

void SCAN_DIALOG::DrawPreviewImage(HWND hDlg, UINT x, UINT y, PreviewDrawMode mode, double zoom) {
  if (!HasPreview()) {
    return;
  }
  if (mode == PreviewDrawMode::DrawZoomAtPoint || mode == PreviewDrawMode::DrawReset ||
      mode == PreviewDrawMode::DrawZoom) {
    ClearPane(hDlg);
  }
  // The graphics object must be gone before its device context is released: hence the order of these three.
  const platform::WindowDC pane(GetDlgItem(hDlg, IDC_PREVIEW_PANE));
  const auto graphics =
      pane.get() != nullptr ? platform::Made<platform::GdipGraphics, &gdip::GdipCreateFromHDC>(pane.get()) : nullptr;
  DebugTrace(L"m_wstrPreviewFile = %s", m_wstrPreviewFile);
  const auto image = scanning::ClaimsTooMuch(m_wstrPreviewFile)
                         ? nullptr
                         : platform::Made<platform::GdipImage, &gdip::GdipLoadImageFromFile>(m_wstrPreviewFile);
  if (image == nullptr) {
    return;
  }
  Gdiplus::REAL dpiX = 0;
  Gdiplus::REAL dpiY = 0;
  m_nImageWidth = 0;
  m_nImageHeight = 0;
  gdip::GdipGetImageHorizontalResolution(image.get(), &dpiX);
  gdip::GdipGetImageVerticalResolution(image.get(), &dpiY);
  gdip::GdipGetImageWidth(image.get(), &m_nImageWidth);
  gdip::GdipGetImageHeight(image.get(), &m_nImageHeight);
  m_nImageDpiX = preview::TruncateUnsigned(dpiX);
  m_nImageDpiY = preview::TruncateUnsigned(dpiY);
  m_dImageWidthMm = preview::ImageMillimetres(m_nImageWidth, m_nImageDpiX);
  m_dImageHeightMm = preview::ImageMillimetres(m_nImageHeight, m_nImageDpiY);
  ApplyScrollRule(x, y, mode, zoom);

  const UINT sourceWidth = preview::ImagePixelsIn(m_rcPane.width(), zoom);
  const UINT sourceHeight = preview::ImagePixelsIn(m_rcPane.height(), zoom);
  if (graphics == nullptr || sourceWidth == 0 || sourceHeight == 0) {
    return;
  }
  gdip::GdipDrawImageRectRectI(graphics.get(), image.get(), 0, 0, m_rcPane.width(), m_rcPane.height(), m_nScrollX,
                               m_nScrollY, static_cast<INT>(sourceWidth), static_cast<INT>(sourceHeight),
                               Gdiplus::UnitPixel, nullptr, nullptr, nullptr);
}

void SCAN_DIALOG::ClearPane(HWND hDlg) {
  const platform::WindowDC pane(GetDlgItem(hDlg, IDC_PREVIEW_PANE));
  const platform::SelectedObject selectedPen(pane.get(), GetStockObject(NULL_PEN));
  const platform::SelectedObject selectedBrush(pane.get(), GetStockObject(DKGRAY_BRUSH));
  Rectangle(pane.get(), 0, 0, m_rcPane.width(), m_rcPane.height());
}

void SCAN_DIALOG::ClearPaneMargins(HWND hDlg) {
  const int width = m_rcPane.width();
  const int height = m_rcPane.height();
  const int coveredWidth = preview::CoveredPanePixels(HorizontalView());
  const int coveredHeight = preview::CoveredPanePixels(VerticalView());
  if (coveredWidth >= width && coveredHeight >= height) {
    return;
  }
  const platform::WindowDC pane(GetDlgItem(hDlg, IDC_PREVIEW_PANE));
  const auto background = static_cast<HBRUSH>(GetStockObject(DKGRAY_BRUSH));
  const RECT besideImage = {coveredWidth, 0, width, height};
  const RECT belowImage = {0, coveredHeight, coveredWidth, height};
  FillRect(pane.get(), &besideImage, background);
  FillRect(pane.get(), &belowImage, background);
}

void SCAN_DIALOG::UpdateScrollBars(HWND hDlg, bool reset) {
  SetScrollBar(GetDlgItem(hDlg, IDC_HORIZONTAL_SCROLL), &RECT::right, m_siHorz, HorizontalView(), reset);
  SetScrollBar(GetDlgItem(hDlg, IDC_VERTICAL_SCROLL), &RECT::bottom, m_siVert, VerticalView(), reset);
}

INT_PTR SCAN_DIALOG::OnPaint(HWND hDlg, HDC /*hdc*/, WPARAM /*wParam*/, LPARAM /*lParam*/) {
  if (!UpdateWindow(GetDlgItem(hDlg, IDC_PREVIEW_PANE)) || !m_bRepaintPreview) {
    return 0;
  }
  // The dialog does not clip its children, so its background was drawn over whatever part of the pane was uncovered.
  // Everything in the pane is therefore drawn anew, margins first: the image's last, partly covered pixels blend with
  // them. What the XOR pen leaves in the pane when it erases a frame that was overpainted disappears under the image.
  if (!m_bSelecting) {
    EraseSelectionFrame(hDlg);
  }
  ClearPaneMargins(hDlg);
  DrawPreviewImage(hDlg, 0, 0, PreviewDrawMode::DrawRepaint, m_dZoom);
  if (!m_bSelecting && m_rcSelection.hasArea()) {
    DrawSelectionFrame(hDlg);
    m_bFrameHidden = false;  // also out of view: a click at its corner, on the pane's edge, must not delete it
    return 0;
  }
  const platform::WindowDC dialog(hDlg);
  DrawPaneBorder(dialog.get());
  if (m_bSelecting && !m_bFrameHidden) {
    // A drag has its own rectangle on the screen. Drawing the frame instead would move the anchor by the rounding to
    // millimetres, and the rubber band could not be erased any more.
    InvertFrame(dialog.get(), RubberBand());
  }
  return 0;
}

INT_PTR SCAN_DIALOG::OnDrawItem(HWND /*hDlg*/, WPARAM /*wParam*/, LPARAM lParam) {
  const auto* item = reinterpret_cast<const DRAWITEMSTRUCT*>(lParam);
  return item != nullptr && item->CtlID == IDC_PREVIEW_PANE ? TRUE : FALSE;
}

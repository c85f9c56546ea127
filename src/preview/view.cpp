// The pane itself: preview state, drawing of the image, scroll bars and paint requests.

#include "core/settings_catalogue.h"
#include "platform/debug_trace.h"
#include "platform/gdiplus_owners.h"
#include "resources/resource_ids.h"
#include "scan_dialog/scan_dialog.h"
#include "scanning/image_file.h"

using Gdiplus::DllExports::GdipDrawImageRectRectI;
using Gdiplus::DllExports::GdipGetImageHeight;
using Gdiplus::DllExports::GdipGetImageHorizontalResolution;
using Gdiplus::DllExports::GdipGetImageVerticalResolution;
using Gdiplus::DllExports::GdipGetImageWidth;

namespace {

struct ImageMeasures {
  UINT width = 0;  // pixels
  UINT height = 0;
  UINT dpiX = 0;  // dots per inch, cut to a whole number
  UINT dpiY = 0;
};

ImageMeasures Measure(Gdiplus::GpImage* image) {
  ImageMeasures measures;
  Gdiplus::REAL dpiX = 0;
  Gdiplus::REAL dpiY = 0;
  GdipGetImageHorizontalResolution(image, &dpiX);
  GdipGetImageVerticalResolution(image, &dpiY);
  GdipGetImageWidth(image, &measures.width);
  GdipGetImageHeight(image, &measures.height);
  measures.dpiX = preview::TruncateUnsigned(dpiX);
  measures.dpiY = preview::TruncateUnsigned(dpiY);
  return measures;
}

bool ClearsPane(PreviewDrawMode mode) {
  return mode == PreviewDrawMode::DrawZoomAtPoint || mode == PreviewDrawMode::DrawReset ||
         mode == PreviewDrawMode::DrawZoom;
}

void SetScrollBar(HWND scrollBar, SCROLLINFO& info, UINT imageSize, UINT page, int position) {
  info.cbSize = sizeof(info);
  info.fMask = SIF_RANGE | SIF_PAGE | SIF_POS;
  info.nMin = 0;
  info.nMax = static_cast<int>(imageSize);
  info.nPage = page;
  info.nPos = position;
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
    EnableWindow(GetDlgItem(m_hDlg, control), enabled ? TRUE : FALSE);
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
  if (m_hDlg != nullptr) {
    // The pane control paints nothing, so the old picture would stand until something covers it. The dialog's client
    // coordinates are mirrored in a right-to-left one, m_rcPane is not: hence the way by the screen.
    const HWND pane = GetDlgItem(m_hDlg, IDC_PREVIEW_PANE);
    RECT area = {};
    GetWindowRect(pane, &area);
    MapWindowPoints(nullptr, m_hDlg, reinterpret_cast<POINT*>(&area), 2);
    RedrawWindow(pane, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME);
    RedrawWindow(m_hDlg, &area, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN | RDW_UPDATENOW);
  }
}

void SCAN_DIALOG::ApplyScrollRule(UINT x, UINT y, PreviewDrawMode mode, double zoom) {
  switch (mode) {
    case PreviewDrawMode::DrawZoomAtPoint:
      m_nScrollX = preview::CentredScroll(x, HorizontalView(zoom));
      m_nScrollY = preview::CentredScroll(y, VerticalView(zoom));
      [[fallthrough]];
    case PreviewDrawMode::DrawPan:
    case PreviewDrawMode::DrawZoom:
      m_nScrollX = preview::ClampScroll(HorizontalView(zoom));
      m_nScrollY = preview::ClampScroll(VerticalView(zoom));
      break;
    case PreviewDrawMode::DrawScrollX:
      m_nScrollX = preview::ClampScroll(HorizontalView(zoom));
      break;
    case PreviewDrawMode::DrawScrollY:
      m_nScrollY = preview::ClampScroll(VerticalView(zoom));
      break;
    case PreviewDrawMode::DrawReset:
      m_nScrollX = 0;
      m_nScrollY = 0;
      break;
    case PreviewDrawMode::DrawRepaint:
      break;
  }
}

void SCAN_DIALOG::DrawPreviewImage(HWND hDlg, UINT x, UINT y, PreviewDrawMode mode, double zoom) {
  if (!HasPreview()) {
    return;
  }
  if (ClearsPane(mode)) {
    ClearPane(hDlg);
  }
  // The graphics object must be gone before its device context is released: hence the order of these three.
  const platform::WindowDC pane(GetDlgItem(hDlg, IDC_PREVIEW_PANE));
  const platform::GdipGraphics graphics = pane.get() != nullptr ? platform::GraphicsOnDC(pane.get()) : nullptr;
  DebugTrace(L"m_wstrPreviewFile = %s", m_wstrPreviewFile);
  const platform::GdipImage image =
      scanning::ClaimsTooMuch(m_wstrPreviewFile) ? nullptr : platform::LoadImageFromFile(m_wstrPreviewFile);
  if (image == nullptr) {
    return;
  }
  const ImageMeasures measures = Measure(image.get());
  m_nImageWidth = measures.width;
  m_nImageHeight = measures.height;
  m_nImageDpiX = measures.dpiX;
  m_nImageDpiY = measures.dpiY;
  m_dImageWidthMm = preview::ImageMillimetres(m_nImageWidth, m_nImageDpiX);
  m_dImageHeightMm = preview::ImageMillimetres(m_nImageHeight, m_nImageDpiY);
  ApplyScrollRule(x, y, mode, zoom);

  const UINT sourceWidth = preview::ImagePixelsIn(m_rcPane.width(), zoom);
  const UINT sourceHeight = preview::ImagePixelsIn(m_rcPane.height(), zoom);
  if (graphics == nullptr || sourceWidth == 0 || sourceHeight == 0) {
    return;
  }
  GdipDrawImageRectRectI(graphics.get(), image.get(), 0, 0, m_rcPane.width(), m_rcPane.height(), m_nScrollX, m_nScrollY,
                         static_cast<INT>(sourceWidth), static_cast<INT>(sourceHeight), Gdiplus::UnitPixel, nullptr,
                         nullptr, nullptr);
}

void SCAN_DIALOG::ClearPane(HWND hDlg) {
  const platform::WindowDC pane(GetDlgItem(hDlg, IDC_PREVIEW_PANE));
  if (pane.get() == nullptr) {
    return;
  }
  const platform::GdiObject pen(CreatePen(PS_NULL, 0, 0));
  const platform::SelectedObject selectedPen(pane.get(), pen.get());
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
  if (pane.get() == nullptr) {
    return;
  }
  const auto background = static_cast<HBRUSH>(GetStockObject(DKGRAY_BRUSH));
  const RECT besideImage = {coveredWidth, 0, width, height};
  const RECT belowImage = {0, coveredHeight, coveredWidth, height};
  FillRect(pane.get(), &besideImage, background);
  FillRect(pane.get(), &belowImage, background);
}

void SCAN_DIALOG::UpdateScrollBars(HWND hDlg, bool reset) {
  const HWND horizontal = GetDlgItem(hDlg, IDC_HORIZONTAL_SCROLL);
  const HWND vertical = GetDlgItem(hDlg, IDC_VERTICAL_SCROLL);
  RECT client = {};
  GetClientRect(horizontal, &client);
  SetScrollBar(horizontal, m_siHorz, m_nImageWidth, preview::ImagePixelsIn(client.right, m_dZoom),
               reset ? 0 : m_nScrollX);
  client = {};
  GetClientRect(vertical, &client);
  SetScrollBar(vertical, m_siVert, m_nImageHeight, preview::ImagePixelsIn(client.bottom, m_dZoom),
               reset ? 0 : m_nScrollY);
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
    InvertFrame(dialog.get(), {m_ptAnchor.x, m_ptAnchor.y, m_ptMouse.x, m_ptMouse.y});
  }
  return 0;
}

INT_PTR SCAN_DIALOG::OnDrawItem(HWND /*hDlg*/, WPARAM /*wParam*/, LPARAM lParam) {
  const auto* item = reinterpret_cast<const DRAWITEMSTRUCT*>(lParam);
  return item != nullptr && item->CtlID == IDC_PREVIEW_PANE ? TRUE : FALSE;
}

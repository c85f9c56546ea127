// The pointer over the pane: the selection, zoom and pan tools.

#include <windowsx.h>

#include <algorithm>

#include "resources/resource_ids.h"
#include "scan_dialog/scan_dialog.h"

namespace {

void ApplyScrollPosition(HWND scrollBar, SCROLLINFO& info, int position) {
  info.nPos = position;
  // Setting a position paints the bar, also when it is there already: one axis often stays where it is.
  if (GetScrollPos(scrollBar, SB_CTL) != position) {
    SetScrollInfo(scrollBar, SB_CTL, &info, TRUE);
  }
}

}  // namespace

preview::Point SCAN_DIALOG::PointerPosition(HWND hDlg, LPARAM lParam) const {
  // In a mirrored window x counts from the right edge, also in mouse messages. Screen coordinates are never mirrored.
  POINT pointer = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
  MapWindowPoints(hDlg, nullptr, &pointer, 1);
  const POINT origin = platform::ClientOrigin(hDlg);
  return {static_cast<int>(pointer.x - origin.x), static_cast<int>(pointer.y - origin.y)};
}

preview::Point SCAN_DIALOG::VisibleImageLimits() const {
  return {preview::VisibleImageLimit(HorizontalView()), preview::VisibleImageLimit(VerticalView())};
}

void SCAN_DIALOG::ReleasePaneCapture(HWND hDlg) {
  if (GetCapture() == hDlg) {
    ReleaseCapture();
    m_bMouseInPane = false;  // unknown until the next mouse move, which sets the cursor
  }
}

void SCAN_DIALOG::SelectTool(HWND hDlg, int id) {
  // A drag that never saw its button release would otherwise keep its rubber band under the next tool.
  EndDrag(hDlg);
  const bool isTool = id == IDC_TOOL_SELECT || id == IDC_TOOL_ZOOM || id == IDC_TOOL_PAN;
  // The click makes the button notify the dialog, which comes here again with the same id. Windows ignores a click sent
  // to a button that is still handling one; Wine 8 recurses without end.
  if (isTool && !m_bClickingTool) {
    m_bClickingTool = true;
    const platform::Finally clicked([this] { m_bClickingTool = false; });
    SendDlgItemMessageW(hDlg, id, BM_CLICK, 0, 0);
  }
  m_bSelectTool = id == IDC_TOOL_SELECT;
  m_bZoomTool = id == IDC_TOOL_ZOOM;
  m_bPanTool = id == IDC_TOOL_PAN;
  if (!isTool) {
    // Without a tool no movement gives the capture up, and no button of the dialog could be clicked any more.
    ReleasePaneCapture(hDlg);
  }
}

void SCAN_DIALOG::ClearSelection(HWND hDlg) {
  EraseSelectionFrame(hDlg);
  m_rcSelection = {};
  ClearAreaReadout();
}

void SCAN_DIALOG::OnLButtonDown(HWND hDlg, WPARAM wParam, LPARAM lParam) {
  if (m_bTransferring) {
    return;
  }
  const preview::Point pointer = PointerPosition(hDlg, lParam);
  const preview::Point limits = VisibleImageLimits();
  if (!preview::IsInside(pointer, {m_rcPane.left, m_rcPane.top, limits.x, limits.y})) {
    return;
  }
  if (!m_bSelecting) {
    m_ptMouse = pointer;  // during a drag it is the rubber band's corner, which has to be erased where it was drawn
  }
  if (!m_bMouseInPane) {
    return;
  }
  if (m_bSelecting) {
    // The drag's button release went to another window. This press stands in for it.
    StaticDialogProc(hDlg, WM_LBUTTONUP, wParam, lParam);
    return;
  }
  if (m_bSelectTool) {
    StartFrame(hDlg);
  } else if (m_bZoomTool) {
    if (m_bZoomIn != 0) {
      ZoomInAt(hDlg);
    } else {
      ZoomOutAt(hDlg);
    }
    UpdateScrollBars(hDlg, false);
  } else if (m_bPanTool) {
    SetCursor(m_hCurPanning);
  }
}

void SCAN_DIALOG::StartFrame(HWND hDlg) {
  m_bSelecting = true;
  if (!m_bFrameHidden && preview::IsOnResizeCorner(m_ptMouse, m_rcFrame, Scaled(preview::kCornerReach))) {
    // The frame on the screen becomes the rubber band.
    m_ptMouse = {m_rcFrame.right, m_rcFrame.bottom};
    m_ptAnchor = {m_rcFrame.left, m_rcFrame.top};
    return;
  }
  m_ptAnchor = m_ptMouse;
  m_rcSelection.left = preview::MillimetresAt(preview::ImagePixelAt(HorizontalView(), m_ptMouse.x), m_nImageDpiX);
  m_rcSelection.top = preview::MillimetresAt(preview::ImagePixelAt(VerticalView(), m_ptMouse.y), m_nImageDpiY);
  ClearAreaReadout();
  UpdateAreaReadout(hDlg, AreaReadout::Position, m_rcSelection.left, m_rcSelection.top, 0, 0);
  EraseSelectionFrame(hDlg);
}

void SCAN_DIALOG::OnMouseMove(HWND hDlg, WPARAM /*wParam*/, LPARAM lParam) {
  if (m_bTransferring || (!m_bPanTool && !m_bSelectTool && !m_bZoomTool)) {
    return;
  }
  UpdatePaneCursor(hDlg, lParam);
  if (!m_bMouseInPane) {
    // Only what is held: after a release the platform tells of the pointer anew, and would find another one here.
    if (GetCapture() != nullptr) {
      ReleaseCapture();
    }
    return;
  }
  // Held while the pointer is over the pane: a window that has the mouse captured is asked for no cursor, so the tool's
  // cursor stays. To ask for what is held already costs a fifth of a movement where another process answers.
  if (!m_bHasCapture) {
    SetCapture(hDlg);
    m_bHasCapture = true;
  }
  if (m_bPanTool) {
    if (m_bButtonDown) {
      PanPreview(hDlg, lParam);
    }
  } else if (m_bSelectTool && m_bButtonDown && m_bSelecting) {
    DragSelectionFrame(hDlg, lParam);
  }
}

void SCAN_DIALOG::UpdatePaneCursor(HWND hDlg, LPARAM lParam) {
  const preview::Point pointer = PointerPosition(hDlg, lParam);
  if (!preview::IsInside(pointer, m_rcPane)) {
    if (m_bMouseInPane) {
      m_bMouseInPane = false;
      SetCursor(m_hCurArrow);
    }
    return;
  }
  if (!m_bMouseInPane) {
    m_bMouseInPane = true;
    if (m_bPanTool) {
      SetCursor(m_hCurPan);
    } else if (m_bZoomTool) {
      SetCursor(m_bZoomIn != 0 ? m_hCurZoomIn : m_hCurZoomOut);
    }
  }
  // A frame cut at the pane's right or bottom edge has no corner to be resized by.
  if (!m_bSelectTool || m_bSelecting || m_rcFrame.right == m_rcPane.right || m_rcFrame.bottom == m_rcPane.bottom) {
    return;
  }
  if (!m_bFrameHidden && m_rcSelection.hasArea() &&
      preview::IsOnResizeCorner(pointer, m_rcFrame, Scaled(preview::kCornerReach))) {
    SetCursor(m_hCurSizeNWSE);
  } else if (!m_bButtonDown) {
    SetCursor(m_hCurCross);
  }
}

void SCAN_DIALOG::DragSelectionFrame(HWND hDlg, LPARAM lParam) {
  const preview::Point pointer = PointerPosition(hDlg, lParam);
  const preview::Point limits = VisibleImageLimits();
  if (m_bFrameHidden && pointer == m_ptMouse) {
    return;  // the platform repeats the last movement when windows change; a click must not become a frame by it
  }
  {
    const platform::WindowDC dialog(hDlg);
    // No rubber band is on the screen before the first movement; its rectangle is empty then.
    InvertFrame(dialog.get(), RubberBand());
    m_ptMouse = {std::min(pointer.x, limits.x), std::min(pointer.y, limits.y)};
    InvertFrame(dialog.get(), RubberBand());
    m_bFrameHidden = false;
  }
  m_rcSelection.right = preview::MovingCornerMillimetres(HorizontalView(), m_ptAnchor.x, m_ptMouse.x);
  m_rcSelection.bottom = preview::MovingCornerMillimetres(VerticalView(), m_ptAnchor.y, m_ptMouse.y);
  const preview::Rect frame = preview::Ordered(m_rcSelection);
  UpdateAreaReadout(hDlg, AreaReadout::PositionAndSize, frame.left, frame.top,
                    std::max(frame.width(), preview::kMinimumSideMm),
                    std::max(frame.height(), preview::kMinimumSideMm));
}

void SCAN_DIALOG::OnLButtonUp(HWND hDlg, WPARAM /*wParam*/, LPARAM /*lParam*/) {
  if (m_bPanTool) {
    SetCursor(m_hCurPan);
    return;
  }
  if (!m_bSelectTool || !m_bSelecting) {
    return;
  }
  const preview::Side horizontal = preview::WithMinimumLength({m_rcSelection.left, m_rcSelection.right},
                                                              m_ptMouse.x < m_ptAnchor.x, m_dImageWidthMm);
  const preview::Side vertical = preview::WithMinimumLength({m_rcSelection.top, m_rcSelection.bottom},
                                                            m_ptMouse.y < m_ptAnchor.y, m_dImageHeightMm);
  m_bSelecting = false;
  if (m_bFrameHidden) {
    // No movement: the click removes the frame that was there.
    m_rcSelection = {};
    ClearAreaReadout();
  } else {
    m_rcSelection = preview::Ordered({horizontal.start, vertical.start, horizontal.end, vertical.end});
    UpdateAreaReadout(hDlg, AreaReadout::PositionAndSize, m_rcSelection.left, m_rcSelection.top, m_rcSelection.width(),
                      m_rcSelection.height());
  }
  m_rcFrame = RubberBand();
  EraseSelectionFrame(hDlg);
  DrawSelectionFrame(hDlg);
}

void SCAN_DIALOG::EndDrag(HWND hDlg) {
  if (m_bSelecting) {
    m_bButtonDown = false;
    OnLButtonUp(hDlg, 0, 0);
  }
}

void SCAN_DIALOG::PanPreview(HWND hDlg, LPARAM lParam) {
  const preview::Point pointer = PointerPosition(hDlg, lParam);
  SetCursor(m_hCurPanning);
  m_nScrollX -= preview::ImageDistance(pointer.x - m_ptMouse.x, m_dZoom);
  m_nScrollY -= preview::ImageDistance(pointer.y - m_ptMouse.y, m_dZoom);
  EraseSelectionFrame(hDlg);
  DrawPreviewImage(hDlg, 0, 0, PreviewDrawMode::DrawPan, m_dZoom);
  ApplyScrollPosition(GetDlgItem(hDlg, IDC_HORIZONTAL_SCROLL), m_siHorz, m_nScrollX);
  ApplyScrollPosition(GetDlgItem(hDlg, IDC_VERTICAL_SCROLL), m_siVert, m_nScrollY);
  m_ptMouse = pointer;
  DrawSelectionFrame(hDlg);
}

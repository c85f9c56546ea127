// The scan dialog: one class, whose operations are defined in the folder that owns them (scan_dialog, scanning,
// preview).
#pragma once

#include <windows.h>

#include <commctrl.h>

#include <map>
#include <utility>

#include "core/geometry.h"
#include "core/page_edit.h"
#include "dialog/base_dialog.h"
#include "platform/scoped.h"
#include "platform/wia2.h"

namespace scanning {
struct SettingsSnapshot;
}

// How DrawPreviewImage treats the pane and the scroll offsets.
enum class PreviewDrawMode {
  DrawZoomAtPoint = 1,  // clears the pane; centres the given image pixel, then clamps both axes
  DrawScrollX = 2,      // clamps the horizontal offset
  DrawScrollY = 3,      // clamps the vertical offset
  DrawReset = 4,        // clears the pane; both offsets become 0
  DrawRepaint = 5,      // leaves the offsets alone
  DrawPan = 6,          // clamps both axes
  DrawZoom = 7,         // clears the pane; clamps both axes
};

// What UpdateAreaReadout writes.
enum class AreaReadout { Position = 1, PositionAndSize = 3 };

// One scan dialog, living for one DoModal call on the thread that runs it. hDlg is always the dialog window.
//
// All pane coordinates are unmirrored client pixels (see core/geometry.h), also in a right-to-left dialog. The
// selection frame is in whole millimetres of the preview as it is displayed.
class SCAN_DIALOG : public BASE_DIALOG {
 public:
  SCAN_DIALOG() = default;
  // Deletes the preview file: nothing of ours stays in the temporary folder.
  ~SCAN_DIALOG();

  // Whether the caller's output fields name a scan.
  bool HasReported() const noexcept { return m_bReported; }

  INT_PTR OnInitDialog(HWND hDlg, WPARAM wParam, LPARAM lParam) override;
  INT_PTR OnPaint(HWND hDlg, HDC hdc, WPARAM wParam, LPARAM lParam) override;
  INT_PTR OnCommand(HWND hDlg, WPARAM wParam, LPARAM lParam) override;
  INT_PTR OnContextMenu(HWND hDlg, WPARAM wParam, LPARAM lParam) override;
  INT_PTR OnDrawItem(HWND hDlg, WPARAM wParam, LPARAM lParam) override;
  INT_PTR OnDestroy(HWND hDlg, WPARAM wParam, LPARAM lParam) override;
  // The percentage of a running transfer, see CSimpleWIACallback::kProgressMessage.
  INT_PTR OnAppMessage(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam) override;
  // Takes over a preview file (at most 259 characters), rewrites it unturned and shows it at 100 %.
  void UpdatePreviewImage(const wchar_t* i_wstrPreviewFile) override;
  // The final scan's follow-up: turns the file and cuts it to the frame, TRUE when all of it was done. path, a buffer
  // of MAX_PATH characters, says afterwards where the image is.
  BOOL processImageFile(wchar_t* path, const ImageEditParams& params) override;
  // Deletes the preview file, resets the preview state and disables the preview controls.
  void ClearPreview() override;
  void OnHScroll(HWND hDlg, WPARAM wParam, LPARAM lParam) override;
  void OnVScroll(HWND hDlg, WPARAM wParam, LPARAM lParam) override;
  void OnLButtonDown(HWND hDlg, WPARAM wParam, LPARAM lParam) override;
  void OnLButtonUp(HWND hDlg, WPARAM wParam, LPARAM lParam) override;
  void OnMouseMove(HWND hDlg, WPARAM wParam, LPARAM lParam) override;

  // Makes the tool of button IDC_TOOL_SELECT, IDC_TOOL_ZOOM or IDC_TOOL_PAN current; any other id: no tool.
  virtual void SelectTool(HWND hDlg, int id);  // slot 40
  // Removes the selection frame and empties its readout.
  virtual void ClearSelection(HWND hDlg);  // slot 41
  // Turns preview file, picture and frame by IDM_ROTATE_UPSIDE_DOWN, _RIGHT or _LEFT; any other command rewrites the
  // file unturned. Either way the view returns to 100 % and the top-left corner.
  virtual void RotatePreview(HWND hDlg, int command);  // slot 42
  // IDM_ZOOM_IN or IDM_ZOOM_OUT: the direction of the zoom tool and the picture on its button.
  virtual void SetZoomDirection(HWND hDlg, int command);  // slot 43

 protected:
  // --- scan_dialog: settings, initialisation, commands ---------------------------------------------------------------

  void SetDefaults();
  static void EnableControl(HWND hDlg, int id);
  static void DisableControl(HWND hDlg, int id);

  void ReadFeederCapability();
  void ReadResolutionCapability();
  void FillLists();
  void TakeOtherControls();
  // Puts the device's registry name into the title bar, when the device is found there.
  void ReadDeviceIdentity();
  void CreateStatusBar();
  void TakePaneRectangle();
  void LoadPaneCursors();
  void SetToolIcon(HWND button, int icon);
  // What assistive technology calls the controls that show no text.
  void SetSpokenNames();
  void CreateToolTips();
  // Puts the direction that a click with the zoom tool has now into its tip.
  void UpdateZoomTip();
  void FillZoomList();

  // The first child item of the root with this category; null with the reason in *result (S_FALSE: there is none).
  platform::ComPtr<IWiaItem2> FirstChildItem(const GUID& category, HRESULT* result) const;
  // The flatbed item's properties; null when there are none.
  platform::ComPtr<IWiaPropertyStorage> FlatbedStorage() const;
  // Pixels at 96 dpi as pixels of the dialog, on a screen of that density or more.
  int Scaled(int pixels) const;
  // A square icon with sides of so many pixels at 96 dpi, loaded once. It lives as long as the dialog; null when it
  // cannot be loaded.
  HICON LoadDialogIcon(int id, int pixels);
  void InvalidateFeedArea(HWND hDlg);
  void InvalidateFeedImage(HWND hDlg);

  // The settings live in these controls and nowhere else.
  HWND m_hwndOriginalSize = nullptr;
  HWND m_hwndPlacement = nullptr;
  HWND m_hwndFeedMethod = nullptr;
  HWND m_hwndQuality = nullptr;
  HWND m_hwndScanMethod = nullptr;
  HWND m_hwndSendSize = nullptr;
  HWND m_hwndScanColor = nullptr;
  HWND m_hwndResolution = nullptr;
  HWND m_hwndBrightness = nullptr;
  HWND m_hwndAutoBrightness = nullptr;
  HWND m_hwndReverseImage = nullptr;
  HWND m_hwndToolSelect = nullptr;
  HWND m_hwndToolZoom = nullptr;
  HWND m_hwndToolRotate = nullptr;
  HWND m_hwndToolPan = nullptr;
  HWND m_hwndStatusBar = nullptr;
  HWND m_hwndToolTips = nullptr;  // owned by the dialog's window, which destroys it

  static constexpr int kStandardDensity = 96;  // dots per inch
  int m_nDensity = kStandardDensity;           // the screen's, dots per inch

  bool m_bHasFeeder = false;  // the device reports a document feeder
  bool m_bRes400 = false;     // the flatbed item accepts 400 dpi
  bool m_bRes600 = false;     // the flatbed item accepts 600 dpi

  // --- scanning: properties and transfer -----------------------------------------------------------------------------

  // Reads the controls as they are now.
  scanning::SettingsSnapshot ReadSettings() const;
  // Writes the settings in one batch; previewFlag 1 for a preview, 0 for a final scan. The result of WriteMultiple.
  HRESULT SetScanProperties(IWiaPropertyStorage* storage, int previewFlag);
  // Runs a preview (1) or the final scan (0) to its end, follow-up included.
  HRESULT TransferImage(int previewFlag);
  HRESULT TransferPreview(IWiaTransfer* transfer);
  HRESULT TransferScan(IWiaTransfer* transfer, IWiaItem2* item);
  // Fills the caller's output fields. `result`, or E_FAIL with the fields untouched when there is no memory for them.
  HRESULT ReportScan(IWiaItem2* item, const wchar_t* path, HRESULT result);
  void GetImageEditParams(ImageEditParams* params) const;
  // The status bar's first part: how much of the page has arrived, in percent.
  void ShowProgress(int percent) noexcept;
  void ShowProgressText(const wchar_t* text) noexcept;

  // A transfer runs: what would start another one, end the dialog or change what the running one is finished with is
  // ignored.
  bool m_bTransferring = false;
  static constexpr int kNothingReported = -1;
  int m_nProgress = kNothingReported;  // percent, as shown
  bool m_bReported = false;

  // --- preview: view, zoom, mouse tools, readout, rotation, menus ----------------------------------------------------

  // Draws the preview at scale zoom (pane pixels per image pixel), decoding the file afresh; refreshes the image's size
  // and resolution. x, y: the image pixel to centre, for DrawZoomAtPoint only. Does not store zoom.
  void DrawPreviewImage(HWND hDlg, UINT x, UINT y, PreviewDrawMode mode, double zoom);
  void ApplyScrollRule(UINT x, UINT y, PreviewDrawMode mode, double zoom);
  void ClearPane(HWND hDlg);
  // Fills what a narrow or short image leaves of the pane, after the dialog's background was drawn over it.
  void ClearPaneMargins(HWND hDlg);
  // Range and page in image pixels; reset puts both positions at 0.
  void UpdateScrollBars(HWND hDlg, bool reset);
  void SyncZoomCombo(HWND hDlg);
  // Up (1) or down (-1) the zoom table, centred on the image pixel under m_ptMouse.
  void ZoomStepAt(HWND hDlg, int rows);
  void OnZoomComboChange(HWND hDlg);
  void ZoomInAt(HWND hDlg);
  void ZoomOutAt(HWND hDlg);
  void EraseSelectionFrame(HWND hDlg);
  void DrawSelectionFrame(HWND hDlg);
  // Draws a rectangle in client pixels with the dotted XOR pen: a second time removes it. Nothing without an area.
  static void InvertFrame(HDC hdc, const preview::Rect& frame);
  void DrawPaneBorder(HDC hdc) const;
  void EnablePreviewControls(bool enabled);
  bool HasPreview() const { return m_wstrPreviewFile[0] != L'\0'; }
  void ResetPreviewState();

  // The pane's view of the image at m_dZoom, or at a scale that is about to become it.
  preview::AxisView HorizontalView() const { return HorizontalView(m_dZoom); }
  preview::AxisView VerticalView() const { return VerticalView(m_dZoom); }
  preview::AxisView HorizontalView(double zoom) const;
  preview::AxisView VerticalView(double zoom) const;
  // The last pixel at which a frame may start or end, client pixels.
  preview::Point VisibleImageLimits() const;

  // What a selection drag shows, client pixels.
  preview::Rect RubberBand() const { return {m_ptAnchor.x, m_ptAnchor.y, m_ptMouse.x, m_ptMouse.y}; }
  void StartFrame(HWND hDlg);
  // Finishes a selection drag as a button release would; nothing when none is in progress.
  void EndDrag(HWND hDlg);
  void ReleasePaneCapture(HWND hDlg);
  // Applies a scroll bar's request to its state and to the offset, and shows it. mode: DrawScrollX or DrawScrollY.
  void ScrollAxis(HWND hDlg, WPARAM wParam, LPARAM lParam, int scrollBar, SCROLLINFO& info, int& offset,
                  PreviewDrawMode mode);

  void DragSelectionFrame(HWND hDlg, LPARAM lParam);
  void PanPreview(HWND hDlg, LPARAM lParam);
  void UpdatePaneCursor(HWND hDlg, LPARAM lParam);
  // A mouse message's position in unmirrored client pixels.
  preview::Point PointerPosition(HWND hDlg, LPARAM lParam) const;

  // Status-bar texts of the frame; all values in whole millimetres.
  void SetStatusText(int part, const wchar_t* text) noexcept;
  void UpdateAreaReadout(HWND hDlg, AreaReadout mode, int left, int top, int width, int height);
  void ClearAreaReadout();

  // Rewrites the preview file turned by a rotate command, unturned for any other. FALSE leaves the file as it was.
  BOOL rotateImageFile(int command);
  // Turns the frame with the picture; the image's size in millimetres must already be the turned one.
  void RotateSelection(int command);

  void ShowZoomMenu(HWND hDlg);
  void ShowRotateMenu(HWND hDlg);
  // Shows a menu resource's pop-up under a tool button; checkedItem 0: no check marks.
  void ShowToolMenu(HWND hDlg, int menu, int button, int checkedItem);

  wchar_t m_wstrPreviewFile[MAX_PATH] = {};  // empty: no preview
  double m_dZoom = 0.0;                      // pane pixels per image pixel; 0.12 is 100 %
  WINDOWPLACEMENT m_wpPane = {};             // placement of the pane control
  preview::Rect m_rcPane;                    // the pane, client pixels
  UINT m_nImageWidth = 0;                    // image pixels
  UINT m_nImageHeight = 0;
  UINT m_nImageDpiX = 0;  // dots per inch, truncated
  UINT m_nImageDpiY = 0;
  double m_dImageWidthMm = 0.0;
  double m_dImageHeightMm = 0.0;
  int m_nScrollX = 0;  // image column at the pane's left edge
  int m_nScrollY = 0;  // image row at the pane's top edge
  SCROLLINFO m_siHorz = {};
  SCROLLINFO m_siVert = {};
  int m_bZoomIn = 1;               // the zoom tool's direction: 1 in, 0 out
  bool m_bPreviewLoaded = false;   // a preview was shown since the dialog opened; never cleared
  bool m_bRepaintPreview = false;  // a preview is shown, so WM_PAINT repaints it
  preview::Rect m_rcSelection;     // the frame in millimetres; all 0: none
  bool m_bFrameHidden = true;      // no frame is drawn on the screen
  preview::Rect m_rcFrame;         // the frame as last drawn, client pixels
  preview::Point m_ptMouse;        // last accepted pointer position, client pixels
  preview::Point m_ptAnchor;       // the fixed corner of the rubber band, client pixels
  int m_nRotation = 0;             // accumulated turn of the preview, degrees clockwise: 0, 90, 180 or 270
  int m_bInch = 0;                 // the readout's unit: 0 millimetres, otherwise inches; read once from the locale
  bool m_bClickingTool = false;    // a click that SelectTool sent is being handled

  HCURSOR m_hCurCross = nullptr;
  HCURSOR m_hCurSizeNWSE = nullptr;
  HCURSOR m_hCurPan = nullptr;
  HCURSOR m_hCurZoomIn = nullptr;
  HCURSOR m_hCurZoomOut = nullptr;
  HCURSOR m_hCurPanning = nullptr;
  HCURSOR m_hCurArrow = nullptr;  // the system's, not owned

  // Owners of the loaded pictures; icons by identifier and side in pixels.
  std::map<std::pair<int, int>, platform::Icon> m_icons;
  platform::Cursor m_cursorCross;
  platform::Cursor m_cursorSizeNWSE;
};

// A modal dialog made from a template, whose window messages arrive as calls of virtual handlers.
#pragma once

#include <windows.h>

#include "platform/wia2.h"

struct ImageEditParams;

// The order of the virtual operations is fixed: slot numbers in comments count from 0.
//
// A handler returns the dialog procedure's result: FALSE when it does not handle the message, so that the platform's
// default dialog processing applies. Unless said otherwise the base implementation returns FALSE. Everything runs on
// the thread that called DoModal, inside its message loop; a message box shown from a handler can enter it again.
class BASE_DIALOG {
 public:
  BASE_DIALOG() = default;
  BASE_DIALOG(const BASE_DIALOG&) = delete;
  BASE_DIALOG& operator=(const BASE_DIALOG&) = delete;

  // Runs the dialog and returns its end code: the value given to EndDialog, or -1 when the dialog could not be created.
  // Creates g_pLangResource, which the caller frees. The request stays the caller's and must outlive the call.
  // Throws std::bad_alloc when the language resources cannot be allocated.
  INT_PTR DoModal(DEVICEDIALOGDATA2* pDeviceDialogData);

  // S_OK, or the failure that an exception thrown in a handler stands for (E_OUTOFMEMORY for std::bad_alloc, E_FAIL
  // for anything else). Such an exception ends the dialog.
  HRESULT HandlerFailure() const noexcept { return m_hrHandlerFailure; }

  // The dialog procedure. On WM_INITDIALOG lParam is the BASE_DIALOG, which is bound to the window's user data.
  static INT_PTR CALLBACK StaticDialogProc(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam);

  virtual INT_PTR OnMessage(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam);  // 0: the message map
  virtual INT_PTR OnInitDialog(HWND, WPARAM, LPARAM) { return FALSE; }               // 1
  virtual INT_PTR OnCtlColorDlg(HWND, WPARAM, LPARAM) { return FALSE; }              // 2
  virtual INT_PTR OnCtlColorStatic(HWND, WPARAM, LPARAM) { return FALSE; }           // 3
  virtual INT_PTR OnCtlColorBtn(HWND, WPARAM, LPARAM) { return FALSE; }              // 4
  virtual INT_PTR OnCtlColorEdit(HWND, WPARAM, LPARAM) { return FALSE; }             // 5
  virtual INT_PTR OnCtlColorListBox(HWND, WPARAM, LPARAM) { return FALSE; }          // 6
  virtual INT_PTR OnCtlColorScrollBar(HWND, WPARAM, LPARAM) { return FALSE; }        // 7
  // Brackets OnPaint with BeginPaint and EndPaint and returns its result.
  virtual INT_PTR OnPaintMessage(HWND hDlg, WPARAM wParam, LPARAM lParam);                // 8
  virtual INT_PTR OnPaint(HWND, HDC, WPARAM, LPARAM) { return FALSE; }                    // 9
  virtual INT_PTR OnCommand(HWND, WPARAM, LPARAM) { return FALSE; }                       // 10
  virtual INT_PTR OnContextMenu(HWND, WPARAM, LPARAM) { return FALSE; }                   // 11
  virtual INT_PTR OnNotify(HWND, WPARAM, LPARAM) { return FALSE; }                        // 12
  virtual INT_PTR OnDrawItem(HWND, WPARAM, LPARAM) { return FALSE; }                      // 13
  virtual INT_PTR OnMove(HWND, WPARAM, LPARAM) { return FALSE; }                          // 14
  virtual INT_PTR OnSize(HWND, WPARAM, LPARAM) { return FALSE; }                          // 15
  virtual INT_PTR OnDestroy(HWND, WPARAM, LPARAM) { return FALSE; }                       // 16
  virtual INT_PTR OnClose(HWND, WPARAM, LPARAM) { return FALSE; }                         // 17
  virtual INT_PTR Reserved18(HWND, WPARAM, LPARAM) { return FALSE; }                      // 18: no message
  virtual INT_PTR Reserved19(HWND, WPARAM, LPARAM) { return FALSE; }                      // 19: no message
  virtual INT_PTR Reserved20(HWND, WPARAM, LPARAM) { return FALSE; }                      // 20: no message
  virtual INT_PTR OnMouseMessage(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam);  // 21: calls slot 22
  virtual INT_PTR OnNcMouseMessage(HWND, UINT, WPARAM, LPARAM) { return FALSE; }          // 22
  virtual INT_PTR OnShowWindow(HWND, WPARAM, LPARAM) { return FALSE; }                    // 23
  virtual INT_PTR OnHideWindow(HWND, WPARAM, LPARAM) { return FALSE; }                    // 24
  virtual INT_PTR Reserved25(HWND, WPARAM, LPARAM) { return FALSE; }                      // 25: no message
  virtual INT_PTR Reserved26(HWND, WPARAM, LPARAM) { return FALSE; }                      // 26: no message
  virtual INT_PTR OnSetFocus(HWND, WPARAM, LPARAM) { return FALSE; }                      // 27
  virtual INT_PTR OnKillFocus(HWND, WPARAM, LPARAM) { return FALSE; }                     // 28
  virtual INT_PTR OnNcPaint(HWND, WPARAM, LPARAM) { return FALSE; }                       // 29
  virtual INT_PTR OnUserMessage(HWND, UINT, WPARAM, LPARAM) { return FALSE; }             // 30: 0x0400 to 0x7FFF
  virtual INT_PTR OnAppMessage(HWND, UINT, WPARAM, LPARAM) { return FALSE; }              // 31: 0x8000 to 0xBFFF
  virtual void UpdatePreviewImage(const wchar_t* i_wstrPreviewFile) = 0;                  // 32
  virtual BOOL processImageFile(wchar_t* path, const ImageEditParams& params) = 0;        // 33
  virtual void ClearPreview() = 0;                                                        // 34
  virtual void OnHScroll(HWND hDlg, WPARAM wParam, LPARAM lParam) = 0;                    // 35
  virtual void OnVScroll(HWND hDlg, WPARAM wParam, LPARAM lParam) = 0;                    // 36
  virtual void OnLButtonDown(HWND hDlg, WPARAM wParam, LPARAM lParam) = 0;                // 37
  virtual void OnLButtonUp(HWND hDlg, WPARAM wParam, LPARAM lParam) = 0;                  // 38
  virtual void OnMouseMove(HWND hDlg, WPARAM wParam, LPARAM lParam) = 0;                  // 39

 protected:
  ~BASE_DIALOG() = default;

  DEVICEDIALOGDATA2* m_pDeviceDialogData = nullptr;
  HINSTANCE m_hInstance = nullptr;
  bool m_bRightToLeft = false;
  HWND m_hDlg = nullptr;

  // Mouse and tool flags: the message map writes the first and filters pointer movement by the other five. What they
  // mean is the preview pane's business.
  bool m_bButtonDown = false;   // the left button is down
  bool m_bPanTool = false;      // the pan tool is current
  bool m_bSelectTool = false;   // the selection tool is current
  bool m_bMouseInPane = false;  // the pointer was last seen inside the pane
  bool m_bZoomTool = false;     // the zoom tool is current
  bool m_bSelecting = false;    // a selection drag is in progress
  bool m_bHasCapture = false;   // the mouse is captured; the message map writes it when somebody takes or frees it

  HCURSOR m_hCurBusy = nullptr;  // the pointer over the dialog while it is busy, not owned; null: it is not

 private:
  INT_PTR ShowBusyPointer(HWND under);
  void OnInputMessage(UINT message, WPARAM wParam, LPARAM lParam);
  INT_PTR RunDialog(HWND owner);

  HRESULT m_hrHandlerFailure = S_OK;
};

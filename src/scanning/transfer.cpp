// Running a preview or the final scan from the device to the file and its follow-up.
#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <new>
#include <string>
#include <vector>

#include "core/settings_catalogue.h"
#include "platform/debug_trace.h"
#include "platform/scoped.h"
#include "platform/wia2.h"
#include "resources/lang_resource.h"
#include "resources/resource_ids.h"
#include "scan_dialog/scan_dialog.h"
#include "scanning/image_file.h"
#include "scanning/transfer_callback.h"
#include <strsafe.h>

using platform::ComPtr;

namespace {

// Builds "<folder>\<fileName>.JPG" in `path`, a buffer of MAX_PATH characters. A null file name counts as empty.
HRESULT MakeDestinationPath(const wchar_t* folder, const wchar_t* fileName, wchar_t* path) {
  if (folder == nullptr || folder[0] == L'\0') {
    return E_INVALIDARG;
  }
  HRESULT result = StringCchCopyW(path, MAX_PATH, folder);
  const bool endsInside = folder[std::wcslen(folder) - 1] == L'\\';
  for (const wchar_t* part : {endsInside ? L"" : L"\\", fileName != nullptr ? fileName : L"", L".JPG"}) {
    result = SUCCEEDED(result) ? StringCchCatW(path, MAX_PATH, part) : result;
  }
  return result;
}

HRESULT LastError() {
  const DWORD error = GetLastError();
  return error != ERROR_SUCCESS ? HRESULT_FROM_WIN32(error) : E_FAIL;
}

// Reserves a preview's name in the temporary folder (the Windows folder when there is none). The platform does so by an
// empty file, "RVX<number>.tmp", which the caller deletes when the preview is beside it. A buffer of MAX_PATH
// characters.
HRESULT MakePlaceholder(wchar_t* placeholder) {
  wchar_t folder[MAX_PATH] = {};
  DWORD length = GetTempPathW(MAX_PATH, folder);
  if (length == 0 || length >= MAX_PATH) {
    length = GetWindowsDirectoryW(folder, MAX_PATH);
  }
  const bool hasFolder = length != 0 && length < MAX_PATH;
  return hasFolder && GetTempFileNameW(folder, L"RVX", 0, placeholder) != 0 ? S_OK : LastError();
}

bool FileExists(const wchar_t* path) { return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES; }

// What a download left behind.
struct Delivery {
  HRESULT result = E_FAIL;          // of Download, or why it was not called
  std::vector<std::wstring> files;  // empty: the device asked for no stream
};

// Runs the transfer into `path` and variants of it. The callback is closed before this returns: no call that the driver
// makes later reaches the dialog.
Delivery Download(IWiaTransfer* transfer, HWND owner, const wchar_t* path) {
  DebugTrace(L"wszFileName = [%s]", path);
  ComPtr<CSimpleWIACallback> callback;
  // It is made with one reference. Not Attach: in mingw-w64's header that takes another one.
  *callback.GetAddressOf() = new (std::nothrow) CSimpleWIACallback(owner, path);
  if (callback == nullptr) {
    return {E_OUTOFMEMORY, {}};
  }
  HRESULT result = S_OK;
  const auto receiver = platform::Query<IWiaTransferCallback>(callback.Get(), IID_IWiaTransferCallback, &result);
  if (receiver != nullptr) {
    result = transfer->Download(0, receiver.Get());
  }
  callback->Close();
  return {result, callback->TakeFiles()};
}

}  // namespace

INT_PTR SCAN_DIALOG::OnAppMessage(HWND /*hDlg*/, UINT message, WPARAM wParam, LPARAM /*lParam*/) {
  if (message == CSimpleWIACallback::kProgressMessage && m_bTransferring) {
    ShowProgress(std::clamp(static_cast<int>(wParam), 0, 100));
  }
  return FALSE;
}

// Without allocations, which could fail: an exception in a handler would end the dialog, and progress must not.
void SCAN_DIALOG::ShowProgress(int percent) noexcept {
  if (percent == m_nProgress) {
    return;
  }
  m_nProgress = percent;
  LocalText text(IDS_SCANNING);
  wchar_t number[12] = {};
  _itow_s(percent, number, std::size(number), 10);
  if (text.characters[0] != L'\0') {
    StringCchCatW(text.characters, LocalText::kCapacity, L" ");
  }
  StringCchCatW(text.characters, LocalText::kCapacity, number);
  // The mark keeps the sign behind its number where the text is read from the right, but a status bar from the left, as
  // Wine's does in a mirrored dialog.
  StringCchCatW(text.characters, LocalText::kCapacity, m_bRightToLeft ? L" %\x200F" : L" %");
  ShowProgressText(text.characters);
}

// Painted at once: no message loop runs while the dialog's thread waits for the device.
void SCAN_DIALOG::ShowProgressText(const wchar_t* text) noexcept {
  SetStatusText(0, text);
  UpdateWindow(m_hwndStatusBar);
}

HRESULT SCAN_DIALOG::TransferImage(int previewFlag) {
  if (m_bTransferring) {
    return HRESULT_FROM_WIN32(ERROR_BUSY);
  }
  EndDrag(m_hDlg);  // its release would come while the transfer runs
  m_bTransferring = true;
  m_hCurBusy = LoadCursorW(nullptr, IDC_WAIT);  // over the dialog, also where message loops of others run meanwhile
  const HCURSOR before = SetCursor(m_hCurBusy);
  m_nProgress = kNothingReported;
  ShowProgressText(LocalText(IDS_PLEASE_WAIT).characters);
  const platform::Finally transferred([this, before] {
    ShowProgressText(L"");
    m_hCurBusy = nullptr;
    // The pointer before may belong to a tool that is no longer current.
    SetCursor(m_bPanTool || m_bSelectTool || m_bZoomTool ? before : m_hCurArrow);
    m_bTransferring = false;
  });
  if (previewFlag != 0) {
    ClearPreview();
  }
  const bool platen = SendMessageW(m_hwndFeedMethod, CB_GETCURSEL, 0, 0) == settings::kFeedMethodPlatenIndex;
  HRESULT result = S_OK;
  const ComPtr<IWiaItem2> item = FirstChildItem(platen ? WIA_CATEGORY_FLATBED : WIA_CATEGORY_FEEDER, &result);
  if (item == nullptr) {
    return result;
  }
  if (const auto storage = platform::Query<IWiaPropertyStorage>(item.Get(), IID_IWiaPropertyStorage)) {
    // A value that the driver rejects does not stop the scan: it runs with whatever the item holds.
    SetScanProperties(storage.Get(), previewFlag);
  }
  const auto transfer = platform::Query<IWiaTransfer>(item.Get(), IID_IWiaTransfer, &result);
  if (transfer == nullptr) {
    return result;
  }
  return previewFlag != 0 ? TransferPreview(transfer.Get()) : TransferScan(transfer.Get(), item.Get());
}

HRESULT SCAN_DIALOG::TransferPreview(IWiaTransfer* transfer) {
  wchar_t placeholder[MAX_PATH] = {};
  const HRESULT named = MakePlaceholder(placeholder);
  if (FAILED(named)) {
    return named;
  }
  const platform::Finally previewed([&placeholder] { DeleteFileW(placeholder); });
  wchar_t path[MAX_PATH] = {};
  StringCchCopyW(path, MAX_PATH, placeholder);
  StringCchCopyW(path + std::wcslen(path) - 3, 4, L"JPG");
  const bool existedBefore = FileExists(path);
  const Delivery delivery = Download(transfer, m_hDlg, path);
  const bool shows = delivery.result == S_OK;
  for (std::size_t page = shows ? 1 : 0; page < delivery.files.size(); ++page) {
    DeleteFileW(delivery.files[page].c_str());
  }
  // A file that was there before is somebody else's: it must not be shown, turned or deleted.
  if (shows && (!delivery.files.empty() || !existedBefore)) {
    UpdatePreviewImage(delivery.files.empty() ? path : delivery.files.front().c_str());
  }
  return delivery.result;
}

HRESULT SCAN_DIALOG::TransferScan(IWiaTransfer* transfer, IWiaItem2* item) {
  wchar_t path[MAX_PATH] = {};
  const HRESULT named =
      MakeDestinationPath(m_pDeviceDialogData->bstrFolderName, m_pDeviceDialogData->bstrFilename, path);
  if (FAILED(named)) {
    return named;
  }
  // As it is now: what the user does while the page arrives is for the next one.
  ImageEditParams params;
  GetImageEditParams(&params);
  const bool existedBefore = FileExists(path);
  const Delivery delivery = Download(transfer, m_hDlg, path);
  if (delivery.files.empty() && existedBefore) {
    // Somebody else's file: must not be changed or reported.
    return delivery.result;
  }
  wchar_t written[MAX_PATH] = {};
  StringCchCopyW(written, MAX_PATH, delivery.files.empty() ? path : delivery.files.front().c_str());
  if (delivery.result == S_OK && m_bPreviewLoaded) {
    processImageFile(written, params);
  }
  // A handler that failed meanwhile, in a message loop of the driver's, makes the whole call fail: a caller that is
  // told so does not look for files to free.
  const bool reports = SUCCEEDED(delivery.result) && SUCCEEDED(HandlerFailure());
  return reports ? ReportScan(item, written, delivery.result) : delivery.result;
}

HRESULT SCAN_DIALOG::ReportScan(IWiaItem2* item, const wchar_t* path, HRESULT result) {
  platform::TaskMemory list(CoTaskMemAlloc(sizeof(BSTR)));
  platform::BasicString pathString(SysAllocString(path));
  if (list == nullptr || pathString == nullptr) {
    return E_FAIL;
  }
  auto* paths = static_cast<BSTR*>(list.release());
  paths[0] = pathString.release();
  item->AddRef();
  m_pDeviceDialogData->lNumFiles = 1;
  m_pDeviceDialogData->pbstrFilePaths = paths;
  m_pDeviceDialogData->pWiaItem = item;
  m_bReported = true;
  return result;
}

void SCAN_DIALOG::GetImageEditParams(ImageEditParams* params) const {
  params->rotationType = page::RotationTypeOf(page::TurnOfDegrees(m_nRotation));
  params->hasFrame = m_rcSelection == preview::Rect{} ? 0 : 1;
  params->left = m_rcSelection.left;
  params->top = m_rcSelection.top;
  params->right = m_rcSelection.right;
  params->bottom = m_rcSelection.bottom;
}

BOOL SCAN_DIALOG::processImageFile(wchar_t* path, const ImageEditParams& params) {
  return scanning::processImageFile(path, params);
}

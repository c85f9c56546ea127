// The settings as they stand in the controls: defaults and reading.
#include <windows.h>

#include <commctrl.h>

#include <iterator>

#include "core/scan_properties.h"
#include "core/settings_catalogue.h"
#include "scan_dialog/scan_dialog.h"

namespace {

int SelectedIndex(HWND list) { return static_cast<int>(SendMessageW(list, CB_GETCURSEL, 0, 0)); }

void Select(HWND list, int index) { SendMessageW(list, CB_SETCURSEL, static_cast<WPARAM>(index), 0); }

bool IsChecked(HWND box) { return SendMessageW(box, BM_GETCHECK, 0, 0) == BST_CHECKED; }

// Dots per inch of the selected entry, by its text; 0 without a selection.
int SelectedResolution(HWND list) {
  wchar_t text[64] = {};
  const int index = SelectedIndex(list);
  const LRESULT length = SendMessageW(list, CB_GETLBTEXTLEN, static_cast<WPARAM>(index), 0);
  if (index == CB_ERR || length <= 0 || length >= static_cast<LRESULT>(std::size(text))) {
    return 0;
  }
  SendMessageW(list, CB_GETLBTEXT, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(text));
  return settings::ResolutionOfText(text);
}

}  // namespace

void SCAN_DIALOG::SetDefaults() {
  Select(m_hwndOriginalSize, settings::kOriginalSize.defaultIndex);
  Select(m_hwndPlacement, settings::kPlacement.defaultIndex);
  if (m_bHasFeeder) {
    Select(m_hwndFeedMethod, settings::kFeedMethodAutoIndex);
  } else {
    Select(m_hwndFeedMethod, settings::kFeedMethodPlatenIndex);
    DisableControl(m_hDlg, IDC_FEED_METHOD);
  }
  Select(m_hwndQuality, settings::kOriginalQuality.defaultIndex);
  Select(m_hwndScanMethod, settings::kScanMethod.defaultIndex);
  Select(m_hwndSendSize, settings::kSendSize.defaultIndex);
  DisableControl(m_hDlg, IDC_SEND_SIZE);
  DisableControl(m_hDlg, IDC_SEND_SIZE_LABEL);
  Select(m_hwndScanColor, settings::kScanColor.defaultIndex);
  Select(m_hwndResolution, settings::kResolution.defaultIndex);
  SendMessageW(m_hwndBrightness, TBM_SETPOS, TRUE, settings::kBrightnessDefault);
  SendMessageW(m_hwndAutoBrightness, BM_SETCHECK, BST_UNCHECKED, 0);
  EnableControl(m_hDlg, IDC_BRIGHTNESS);
}

void SCAN_DIALOG::EnableControl(HWND hDlg, int id) { EnableWindow(GetDlgItem(hDlg, id), TRUE); }

void SCAN_DIALOG::DisableControl(HWND hDlg, int id) { EnableWindow(GetDlgItem(hDlg, id), FALSE); }

scanning::SettingsSnapshot SCAN_DIALOG::ReadSettings() const {
  scanning::SettingsSnapshot settings;
  settings.originalSize = SelectedIndex(m_hwndOriginalSize);
  settings.placement = SelectedIndex(m_hwndPlacement);
  settings.feedMethod = SelectedIndex(m_hwndFeedMethod);
  settings.quality = SelectedIndex(m_hwndQuality);
  settings.sendSize = SelectedIndex(m_hwndSendSize);
  settings.scanMethod = SelectedIndex(m_hwndScanMethod);
  settings.scanColor = SelectedIndex(m_hwndScanColor);
  settings.resolutionDpi = SelectedResolution(m_hwndResolution);
  settings.brightness = static_cast<int>(SendMessageW(m_hwndBrightness, TBM_GETPOS, 0, 0));
  settings.autoBrightness = IsChecked(m_hwndAutoBrightness);
  settings.reverseImage = IsChecked(m_hwndReverseImage);
  return settings;
}

// The dialog's language: which string table, which font, which message boxes.
#pragma once

#include <windows.h>

#include <array>
#include <cstdint>

struct FONT_CACHE_ENTRY {
  std::uint32_t language;   // the UI language the font was made for
  std::uint32_t pointSize;  // 8
  std::uint32_t weight;     // FW_NORMAL
  std::uint32_t attribute;  // 0
  HFONT font;               // owned by the cache; null when the font could not be made
};

// Lives as long as one dialog run and is used on its thread only. The UI language is that of the user's locale (the
// regional format), read once at construction.
class LANG_RESOURCE {
 public:
  // hModule: the module whose string tables are searched; not owned.
  explicit LANG_RESOURCE(HMODULE hModule);
  // Deletes the cached fonts: no control may use them any more.
  ~LANG_RESOURCE();
  LANG_RESOURCE(const LANG_RESOURCE&) = delete;
  LANG_RESOURCE& operator=(const LANG_RESOURCE&) = delete;

  // Reads the user's locale into m_wLangId and returns it; 0 when the locale names no language.
  std::uint32_t GetUserLanguage();

  // True for Arabic and Hebrew.
  bool IsRightToLeft() const;

  // Copies a string into a buffer of `capacity` characters, cut to capacity - 1. language 0: the UI language. The
  // buffer; empty when the table lacks the string. Null, with the buffer untouched, when no table holds the string's
  // block of 16.
  wchar_t* GetTextW(UINT id, wchar_t* buffer, int capacity, std::uint32_t language = 0) const;

  // Gives a control of the dialog the dialog font and a string; the empty text when no table holds the string. TRUE.
  BOOL SetControlText(HWND hDlg, UINT stringId, int controlId) const;

  // Shows a modal message box with an OK button and the caption "Scan Error" in the UI language. A message that the UI
  // language lacks is shown in English. The message box's result; 0, and no box, when English lacks the message too.
  int ShowMessage(HWND owner, UINT stringId) const;

  // The dialog font (8 points, at the screen's resolution). The cache keeps it; the caller must not delete it.
  HFONT GetDialogFont();

  // The font that SetControlText applies; null: the controls keep the template's font. Set by BASE_DIALOG::DoModal.
  HFONT m_hDialogFont = nullptr;

 private:
  HMODULE m_hModule;
  std::uint32_t m_wLangId = 0;
  std::array<FONT_CACHE_ENTRY, 256> m_fontCache{};
  std::int32_t m_nFontCount = 0;
};

// The running dialog's language resources; null between dialogs. Made by BASE_DIALOG::DoModal, freed by DeviceDialog.
extern LANG_RESOURCE* g_pLangResource;

// A string in the running dialog's language; empty when no table holds it.
struct LocalText {
  explicit LocalText(int stringId) noexcept {
    g_pLangResource->GetTextW(static_cast<UINT>(stringId), characters, kCapacity);
  }
  static constexpr int kCapacity = 1024;
  wchar_t characters[kCapacity] = {};
};

#include "resources/lang_resource.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <iterator>

#include "platform/scoped.h"
#include "platform/thread_contexts.h"
#include "resources/resource_ids.h"

LANG_RESOURCE* g_pLangResource = nullptr;

namespace {

constexpr std::uint32_t kEnglishUnitedStates = 0x0409;
constexpr std::uint32_t kFontPointSize = 8;
constexpr int kControlTextCapacity = 1024;
constexpr UINT kStringsPerBlock = 16;

// Entries of one string block: a 16-bit count, then that many UTF-16 units without terminator. The block is bounded by
// its resource size, so that a damaged table cannot lead past its end.
const wchar_t* FindEntry(const wchar_t* block, const wchar_t* end, UINT index, std::size_t* length) {
  const wchar_t* entry = block;
  for (; index > 0 && entry < end; --index) {
    entry += 1 + static_cast<std::size_t>(*entry);
  }
  if (entry >= end || static_cast<std::size_t>(end - entry) <= static_cast<std::size_t>(*entry)) {
    return nullptr;
  }
  *length = static_cast<std::size_t>(*entry);
  return entry + 1;
}

}  // namespace

LANG_RESOURCE::LANG_RESOURCE(HMODULE hModule) : m_hModule(hModule) { GetUserLanguage(); }

LANG_RESOURCE::~LANG_RESOURCE() {
  for (std::int32_t i = 0; i < m_nFontCount; ++i) {
    DeleteObject(m_fontCache[static_cast<std::size_t>(i)].font);
  }
}

std::uint32_t LANG_RESOURCE::GetUserLanguage() {
  char digits[10] = {};
  GetLocaleInfoA(LOCALE_USER_DEFAULT, LOCALE_ILANGUAGE, digits, static_cast<int>(std::size(digits)));
  m_wLangId = std::strtoul(digits, nullptr, 16);
  return m_wLangId;
}

bool LANG_RESOURCE::IsRightToLeft() const {
  const std::uint32_t primary = m_wLangId & 0xFF;
  return primary == LANG_ARABIC || primary == LANG_HEBREW;
}

wchar_t* LANG_RESOURCE::GetTextW(UINT id, wchar_t* buffer, int capacity, std::uint32_t language) const {
  if (buffer == nullptr || capacity <= 0) {
    return nullptr;
  }
  const LPCWSTR block = MAKEINTRESOURCEW(id / kStringsPerBlock + 1);
  const std::uint32_t wanted = language != 0 ? language : m_wLangId;
  const auto exact = static_cast<WORD>(wanted);
  // Language 0 leaves the choice to the platform: the user's and the system's languages, English, then any.
  const WORD candidates[] = {exact, static_cast<WORD>(MAKELANGID(PRIMARYLANGID(exact), SUBLANG_NEUTRAL)), 0};
  HRSRC found = nullptr;
  for (const WORD candidate : candidates) {
    found = found != nullptr ? found : FindResourceExW(m_hModule, RT_STRING, block, candidate);
  }
  const HGLOBAL loaded = found != nullptr ? LoadResource(m_hModule, found) : nullptr;
  const auto* text = loaded != nullptr ? static_cast<const wchar_t*>(LockResource(loaded)) : nullptr;
  if (text == nullptr) {
    return nullptr;
  }

  std::size_t length = 0;
  const wchar_t* end = text + SizeofResource(m_hModule, found) / sizeof(wchar_t);
  const wchar_t* entry = FindEntry(text, end, id % kStringsPerBlock, &length);
  const std::size_t copied = std::min(length, static_cast<std::size_t>(capacity) - 1);
  if (entry != nullptr) {
    std::copy_n(entry, copied, buffer);
  }
  buffer[copied] = L'\0';
  return buffer;
}

BOOL LANG_RESOURCE::SetControlText(HWND hDlg, UINT stringId, int controlId) const {
  const HWND control = GetDlgItem(hDlg, controlId);
  wchar_t text[kControlTextCapacity] = {};
  GetTextW(stringId, text, kControlTextCapacity);
  if (m_hDialogFont != nullptr) {
    SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(m_hDialogFont), TRUE);
  }
  SetWindowTextW(control, text);
  return TRUE;
}

int LANG_RESOURCE::ShowMessage(HWND owner, UINT stringId) const {
  wchar_t message[kControlTextCapacity] = {};
  wchar_t caption[kControlTextCapacity] = {};
  GetTextW(stringId, message, kControlTextCapacity);
  GetTextW(IDS_SCAN_ERROR, caption, kControlTextCapacity);
  if (message[0] == L'\0') {
    GetTextW(stringId, message, kControlTextCapacity, kEnglishUnitedStates);
  }
  if (message[0] == L'\0') {
    return 0;
  }
  // Message boxes do not inherit the owner's right-to-left layout.
  const UINT layout = IsRightToLeft() ? MB_RTLREADING | MB_RIGHT : 0;
  // The dialog's thread has it, a driver's own does not.
  const platform::ControlsContext look(m_hModule);
  // The box may open under a busy pointer, which stands until the pointer moves, and must be back when nobody asks for
  // it.
  const HCURSOR before = SetCursor(LoadCursorW(nullptr, IDC_ARROW));
  const int answer = MessageBoxW(owner, message, caption, MB_OK | layout);
  SetCursor(before);
  return answer;
}

HFONT LANG_RESOURCE::GetDialogFont() {
  const auto end = m_fontCache.begin() + m_nFontCount;
  const auto cached = std::find_if(m_fontCache.begin(), end, [this](const FONT_CACHE_ENTRY& entry) {
    return entry.pointSize == kFontPointSize && entry.language == m_wLangId && entry.attribute == 0 &&
           entry.weight == FW_NORMAL;
  });
  if (cached != end) {
    return cached->font;
  }

  if (end == m_fontCache.end()) {
    return nullptr;
  }

  // Negative: the height of the characters, not of the cell.
  const platform::WindowDC screen(GetDesktopWindow());
  const int height = -MulDiv(static_cast<int>(kFontPointSize), GetDeviceCaps(screen.get(), LOGPIXELSY), 72);
  const HFONT font = CreateFontW(height, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET, OUT_TT_PRECIS,
                                 CLIP_EMBEDDED, PROOF_QUALITY, DEFAULT_PITCH | FF_DONTCARE, L"Microsoft Sans Serif");
  *end = {m_wLangId, kFontPointSize, FW_NORMAL, 0, font};
  ++m_nFontCount;
  return font;
}

// How a simulated scanner misbehaves. A default plan is a device that works.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

// What a driver answers besides codes of its own; mingw-w64's headers lack them.
inline constexpr HRESULT kPaperEmpty = static_cast<HRESULT>(0x80210003);
inline constexpr HRESULT kBusy = static_cast<HRESULT>(0x80210006);
inline constexpr HRESULT kItemDeleted = static_cast<HRESULT>(0x80210009);
inline constexpr HRESULT kCommunicationError = static_cast<HRESULT>(0x8021000A);

// Call number `call` (counted from 1, see SimulatedScanner::Calls), or every call from it on, goes wrong.
struct CallFault {
  enum class Kind {
    result,      // answers `result` and does nothing else: outputs are null, empty or untouched
    lateResult,  // does its work and then answers `result`
    wrongType,   // ReadMultiple and GetPropertyAttributes answer S_OK with values of another type
    wrongCount,  // Next answers S_OK without an item; GetPropertyAttributes a list that claims more than it holds
  };

  std::size_t call = 0;
  Kind kind = Kind::result;
  HRESULT result = E_FAIL;
  bool fromThenOn = false;
};

// A status message with an error in it, as a driver reports a jam or an open cover.
struct StatusFault {
  HRESULT status = S_OK;
  LONG percent = 0;           // sent once, on the first page, when its progress reaches this
  bool endsTransfer = false;  // Download then stops and returns `status`; otherwise the transfer goes on
};

struct Pause {
  DWORD milliseconds = 0;
  LONG percent = 0;
};

// Where a transfer stands when the plan's hook is called.
struct TransferPoint {
  enum class Stage {
    start,         // Download was entered, nothing has been asked for
    streamOpened,  // GetNextStream has answered
    chunkWritten,  // `percent` of the page has been written
    pageDone,      // the page's stream is released
    end,           // END_OF_TRANSFER has been sent, Download is about to return
  };

  Stage stage = Stage::start;
  int page = 0;  // from 0
  LONG percent = 0;
};

// Every member has an initialiser, so that designated initialisers may name just the one that matters.
struct FaultPlan {
  std::vector<CallFault> calls = {};

  // The rest concerns Download.
  std::vector<StatusFault> statuses = {};
  std::vector<Pause> pauses = {};                       // the device stalls and the calling thread with it
  std::optional<std::size_t> cutAfterBytes = {};        // each stream ends here ...
  HRESULT cutResult = kCommunicationError;              // ... and Download with this; S_OK: a cut that nobody reports
  std::optional<HRESULT> downloadResult = {};           // answered after a transfer that was otherwise complete
  std::optional<std::vector<BYTE>> streamContent = {};  // sent instead of the page, whatever it is
  std::optional<int> streamCount = {};                  // number of GetNextStream calls, instead of the pages due
  bool callbacksOnAnotherThread = false;                // Download waits for it and dispatches messages meanwhile
  bool nullRecord = false;                              // one TransferCallback with a null record
  bool nullNames = false;                               // GetNextStream with null item names
  bool keepStreams = false;                             // see SimulatedScanner::KeptStreams
  bool keepCallback = false;                            // see SimulatedScanner::KeptCallback

  // Called inside Download, on the thread that makes the callbacks.
  std::function<void(const TransferPoint&)> hook = {};
};

// The text form, one fault each; HRESULT and CODE in hexadecimal, with or without 0x,
// numbers decimal or with 0x:
//   call:K=HRESULT      call K fails once               call:K+=HRESULT   call K and all later ones fail
//   call:K=type         wrong value type at call K      call:K=count      wrong count at call K
//   status:CODE@PERCENT the device reports CODE         stop:CODE@PERCENT ... and the transfer ends with it
//   pause:MS@PERCENT    the device stalls               cut:BYTES[=HRESULT]  the stream ends early
//   result:HRESULT      what Download returns           streams:N         number of pages asked for
//   thread              callbacks on another thread     null-record       a callback without a record
// False when `text` is none of these; `plan` is then untouched.
bool ParseFault(std::wstring_view text, FaultPlan& plan);

// A number as in the text form, at most 32 bits.
std::optional<std::uint32_t> ParseNumber(std::wstring_view text);

}  // namespace simulator

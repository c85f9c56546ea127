#include "simulator/fault_plan.h"

#include <limits>

namespace simulator {

namespace {

struct Split {
  std::wstring_view before;
  std::optional<std::wstring_view> after;  // nothing: there was no separator
};

Split SplitAt(std::wstring_view text, wchar_t separator) {
  const std::size_t position = text.find(separator);
  if (position == std::wstring_view::npos) {
    return {text, std::nullopt};
  }
  return {text.substr(0, position), text.substr(position + 1)};
}

std::optional<std::uint32_t> ParseDigits(std::wstring_view text, bool hexadecimal) {
  const std::wstring digits(text);
  // The conversion itself would let spaces, signs and a second prefix pass.
  const wchar_t* allowed = hexadecimal ? L"0123456789abcdefABCDEF" : L"0123456789";
  if (digits.empty() || digits.size() > 10 || digits.find_first_not_of(allowed) != std::wstring::npos) {
    return std::nullopt;
  }
  const std::uint64_t number = std::stoull(digits, nullptr, hexadecimal ? 16 : 10);
  return number <= std::numeric_limits<std::uint32_t>::max() ? std::optional(static_cast<std::uint32_t>(number))
                                                             : std::nullopt;
}

bool IsPrefixed(std::wstring_view text) { return text.starts_with(L"0x") || text.starts_with(L"0X"); }

// Codes are written in hexadecimal everywhere, with the prefix or without.
std::optional<HRESULT> ParseCode(std::wstring_view text) {
  const auto code = ParseDigits(text.substr(IsPrefixed(text) ? 2 : 0), true);
  return code ? std::optional(static_cast<HRESULT>(*code)) : std::nullopt;
}

bool ParseCall(std::wstring_view text, FaultPlan& plan) {
  Split parts = SplitAt(text, L'=');
  if (!parts.after) {
    return false;
  }
  CallFault fault;
  if (!parts.before.empty() && parts.before.back() == L'+') {
    fault.fromThenOn = true;
    parts.before.remove_suffix(1);
  }
  const auto call = ParseNumber(parts.before);
  if (!call || *call == 0) {
    return false;
  }
  fault.call = *call;
  if (*parts.after == L"type") {
    fault.kind = CallFault::Kind::wrongType;
  } else if (*parts.after == L"count") {
    fault.kind = CallFault::Kind::wrongCount;
  } else if (const auto result = ParseCode(*parts.after)) {
    fault.result = *result;
  } else {
    return false;
  }
  plan.calls.push_back(fault);
  return true;
}

// What follows the @.
std::optional<LONG> ParsePercent(const Split& parts) {
  const auto percent = parts.after ? ParseNumber(*parts.after) : std::nullopt;
  return percent && *percent <= 100 ? std::optional(static_cast<LONG>(*percent)) : std::nullopt;
}

bool ParseStatus(std::wstring_view text, bool endsTransfer, FaultPlan& plan) {
  const Split parts = SplitAt(text, L'@');
  const auto status = ParseCode(parts.before);
  const auto percent = ParsePercent(parts);
  if (!status || !percent) {
    return false;
  }
  plan.statuses.push_back({*status, *percent, endsTransfer});
  return true;
}

bool ParsePause(std::wstring_view text, FaultPlan& plan) {
  const Split parts = SplitAt(text, L'@');
  const auto milliseconds = ParseNumber(parts.before);
  const auto percent = ParsePercent(parts);
  if (!milliseconds || !percent) {
    return false;
  }
  plan.pauses.push_back({*milliseconds, *percent});
  return true;
}

bool ParseCut(std::wstring_view text, FaultPlan& plan) {
  const Split parts = SplitAt(text, L'=');
  const auto bytes = ParseNumber(parts.before);
  const auto result = parts.after ? ParseCode(*parts.after) : std::optional(plan.cutResult);
  if (!bytes || !result) {
    return false;
  }
  plan.cutAfterBytes = *bytes;
  plan.cutResult = *result;
  return true;
}

bool ParseStreams(std::wstring_view text, FaultPlan& plan) {
  const auto count = ParseNumber(text);
  if (!count || *count > static_cast<std::uint32_t>(std::numeric_limits<int>::max())) {
    return false;
  }
  plan.streamCount = static_cast<int>(*count);
  return true;
}

}  // namespace

std::optional<std::uint32_t> ParseNumber(std::wstring_view text) {
  return IsPrefixed(text) ? ParseDigits(text.substr(2), true) : ParseDigits(text, false);
}

bool ParseFault(std::wstring_view text, FaultPlan& plan) {
  const Split parts = SplitAt(text, L':');
  if (!parts.after) {
    if (text == L"thread") {
      plan.callbacksOnAnotherThread = true;
    } else if (text == L"null-record") {
      plan.nullRecord = true;
    } else {
      return false;
    }
    return true;
  }
  if (parts.before == L"call") {
    return ParseCall(*parts.after, plan);
  }
  if (parts.before == L"status" || parts.before == L"stop") {
    return ParseStatus(*parts.after, parts.before == L"stop", plan);
  }
  if (parts.before == L"pause") {
    return ParsePause(*parts.after, plan);
  }
  if (parts.before == L"cut") {
    return ParseCut(*parts.after, plan);
  }
  if (parts.before == L"streams") {
    return ParseStreams(*parts.after, plan);
  }
  if (parts.before == L"result") {
    const auto result = ParseCode(*parts.after);
    plan.downloadResult = result ? result : plan.downloadResult;
    return result.has_value();
  }
  return false;
}

}  // namespace simulator

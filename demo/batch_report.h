// What a dialog asked a driver for, and what the driver made of it, in words.
#pragma once

#include <string>
#include <vector>

#include "platform/wia2.h"

namespace simulator {

// One line for each property of a batch whose WriteMultiple answered `written`: what was asked for, and, read back from
// the item, whether it was taken, refused (with what is valid), made something else, or is not known to the driver.
std::vector<std::wstring> DescribeBatch(IWiaPropertyStorage& item, ULONG count, const PROPSPEC specifications[],
                                        const PROPVARIANT values[], HRESULT written);

// "0x8021000A, no connection ...": the codes of WIA and of the dialog's driver in our words, others in the system's.
std::wstring DescribeResult(HRESULT result);

// A property that is text; empty when there is none.
std::wstring ReadText(IWiaPropertyStorage& item, PROPID id);

}  // namespace simulator

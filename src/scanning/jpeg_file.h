// A look at a JPEG file without decoding it.
#pragma once

namespace scanning {

// Whether a JPEG's header claims more pixels than the file has bytes for, or than GDI+ can hold: decoding one takes the
// host's memory, and on some platforms its life. Also when the header names no size: a decoder might find one after
// all. False for other formats and for a file that can't be read.
bool ClaimsTooMuch(const wchar_t* path);

// Whether the file is a JPEG that can be whole: it begins as one, names its size, holds at least the bytes that so many
// pixels take, and carries the end-of-image marker at its end. Codecs are too forgiving to be asked: they also open
// other formats, fill the missing rows of a file that was cut off with grey, and spend half a minute and gigabytes on
// a few bytes whose header claims a huge page.
bool IsWholeJpeg(const wchar_t* path);

}  // namespace scanning

// The diagnostic hook.
#pragma once

// Takes a wide or narrow printf format and its values, and does nothing with them: a component inside somebody else's
// process writes no log. The calls mark where a tracing build would speak.
template <class Character, class... Values>
inline void DebugTrace(const Character* /*format*/, const Values&... /*values*/) noexcept {}

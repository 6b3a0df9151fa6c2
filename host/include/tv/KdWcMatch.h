// Wild-card matching of names, as layer filters and name searches use it.
#pragma once

#include "KdExport.h"
#include "KdadStatus.h"

/// Matches `string` against the wild-card `pattern`, ignoring case (tvUpper): RTNORM when it
/// matches, RTERROR when it does not or when either argument is null.
///
/// Pattern characters:
///   `#` any digit, `@` any letter, `.` any character that is neither letter nor digit,
///   `*` any sequence (also empty), `?` any one character,
///   `[...]` any one of the listed characters (ranges such as `a-z`), `[~...]` any one that is
///   not listed, `` ` `` takes the next character literally, `,` separates alternatives, and
///   `~` at the start of the pattern or of an alternative matches what the rest does not.
/// The string matches when any alternative matches. Time is bounded by the product of the
/// lengths of string and pattern, whatever the stars.
TVHOST_API int kdutWcMatch(const wchar_t* string, const wchar_t* pattern);

#pragma once

#include <optional>
#include <string_view>

// Each enumeration of the vocabulary is one list macro LIST(CASE, NAMED), from which its cases and its raw values are
// made. The raw value of CASE(x) is "AX" and x with its first letter in upper case; NAMED(x, raw) gives it in full.
// Raw values match whole and in their exact letter case.

/// Makes enumerators of a list, in both of its parameters.
#define ZQ_ENUMERATOR(x, ...) x,

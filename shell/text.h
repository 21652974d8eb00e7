/// @file
/// UTF-8 text in the shell: conversion to and from the host's String, display width, small helpers.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "host/string.h"

namespace orlimbara::shell {

/// UTF-8 of a host text; unpaired surrogates become U+FFFD.
std::string ToUtf8(const orkit::String& inText);
/// A host text from UTF-8; invalid bytes become U+FFFD. Zero characters are kept.
orkit::String ToHost(std::string_view inText);
/// `inText` with every invalid byte replaced by U+FFFD, so that it is UTF-8.
std::string ValidUtf8(std::string_view inText);

/// The columns that a UTF-8 text takes on a terminal: wide characters count 2, combining ones 0.
std::size_t DisplayWidth(std::string_view inText);
/// `inText` itself if it is at most `inWidth` columns wide, else its beginning and "…", together at most
/// `inWidth` columns. @param inWidth at least 1.
std::string CutToWidth(std::string_view inText, std::size_t inWidth);
/// The text with everything that could affect a terminal escaped: control characters except line feed and tab
/// (C0, DEL, C1) as \xNN, bidirectional controls as \uNNNN. Bytes that aren't UTF-8 become U+FFFD.
std::string Harmless(std::string_view inText);
/// The same with \n and \t for line feed and tab: one line.
std::string OneLine(std::string_view inText);
/// The same for JSON, with JSON's escapes \u00NN, so that it stays the same JSON.
std::string HarmlessJson(std::string_view inJson);

/// ASCII whitespace: space, tab, line feed, carriage return, form feed, vertical tab.
bool IsWhitespace(char inCharacter);
inline bool IsDigit(char inCharacter) { return inCharacter >= '0' && inCharacter <= '9'; }
/// Without the whitespace at both ends.
std::string_view Trim(std::string_view inText);
/// Whether two texts are equal, ignoring the case of ASCII letters.
bool EqualsIgnoringCase(std::string_view inLeft, std::string_view inRight);
/// Whether `inText` begins with `inPrefix`, ignoring the case of ASCII letters.
bool StartsIgnoringCase(std::string_view inText, std::string_view inPrefix);

} // namespace orlimbara::shell

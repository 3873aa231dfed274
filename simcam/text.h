/// The text conventions that model files, the request log and the end-to-end cases share.
#pragma once

#include <string>
#include <vector>

/// Replaces \r \n \t \\ and \xHH by the byte they stand for. Returns false on any other use of the backslash.
bool Decode_Escapes(const std::string &strText, std::string *pDecoded);

/// The reverse: bytes outside 0x20 to 0x7e and the backslash become escapes.
std::string Encode_Escapes(const std::string &strText);

/// The parts between the separators: one more part than there are separators, some of them maybe empty.
std::vector<std::string> Split_Text(const std::string &strText, char cSeparator);

/// Writes out names that differ in a word: "s{0,1}_{x,y}" stands for s0_x, s0_y, s1_x and s1_y. Returns null, or what
/// is wrong: a brace that is not closed, more names than a camera has use for.
const char *Expand_Braces(const std::string &strText, std::vector<std::string> *pNames);

/// A decimal or 0x-prefixed number that fills the whole text and does not exceed the maximum.
bool Parse_Number(const std::string &strText, unsigned long uMaximum, unsigned long *pNumber);

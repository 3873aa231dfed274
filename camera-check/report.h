/// What camera-check says: a line per check, good or bad, and at the end of a bad one what to do about it. The camera's
/// libraries, which print to standard output and standard error as they do in param.cgi, are not heard.
///
/// Whatever a camera holds may stand in an argument: what is not printable ASCII leaves here as a C escape, so that no
/// value can forge a line or steer the terminal.
#pragma once

#include <stddef.h>

/// Takes standard output for the lines alone. 0; -1 with errno set.
int Report_Open();

/// Lines of a check. pszWhat is what was looked at, in a word or two.
void Report_Good(const char *pszWhat, const char *pszFormat, ...) __attribute__((format(printf, 2, 3)));
void Report_Bad(const char *pszWhat, const char *pszFormat, ...) __attribute__((format(printf, 2, 3)));

/// A bad line in pieces: its beginning, then any number of Report_Say up to one whose format ends in a line feed.
void Report_BeginBad(const char *pszWhat);
void Report_Say(const char *pszFormat, ...) __attribute__((format(printf, 1, 2)));

/// Says a text in which the backslash and what is not printable are C escapes.
void Report_SayEscaped(const char *pcText, size_t uLength);

/// Says a text of camera-check's own as it stands.
void Report_SayPlain(const char *pszText);

/// A line on standard error, for whoever sends standard output to a file.
void Report_Aside(const char *pszFormat, ...) __attribute__((format(printf, 1, 2)));

/// What ends the word behind a number.
inline const char *Get_PluralEnd(int iCount) { return iCount == 1 ? "" : "s"; }

/// How many lines were bad.
int Report_BadCount();

/// Ends the output. 0; -1 when not all of it could be written.
int Report_Close();

#pragma once

/// Identity of the program in the system log, and in front of some messages.
constexpr char LOG_IDENTITY[] = "Quorvex TELP package - param.cgi";

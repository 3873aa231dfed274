/// Beside the general and network routines of mapping_routines.h.
#pragma once

#include <stddef.h>

/// Formats the hardware address of "eth0" as lower-case pairs joined by "-". Always 0; an address that cannot be had is
/// all zeros.
int Catch_MAC(char *pszAddress, size_t uSize);

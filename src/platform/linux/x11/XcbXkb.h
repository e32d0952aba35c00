#pragma once

// xcb/xkb.h names members with a word that C++ keeps for itself. Everything that it includes comes first.
#include <xcb/xcb.h>
#include <xcb/xproto.h>

#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wkeyword-macro"
#endif
#define explicit explicitParts
#include <xcb/xkb.h>
#undef explicit
#ifdef __clang__
#pragma clang diagnostic pop
#endif

#pragma once

// xcb/xkb.h names members with a word that C++ keeps for itself. Everything that it includes comes first.
#include <xcb/xcb.h>
#include <xcb/xproto.h>

#define explicit explicitParts
#include <xcb/xkb.h>
#undef explicit

#include "control/SymbolicHotKeys.h"

#include "control/MacShortcutRunner.h"

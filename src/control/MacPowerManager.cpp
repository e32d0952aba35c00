#include "control/MacPowerManager.h"

#include "control/MacLaunchAtLoginController.h"

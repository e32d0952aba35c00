#include "control/MacInputController.h"

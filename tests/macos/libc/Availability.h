#pragma once

// Asked for by Qt, which uses nothing of it but the versions' numbers.
#define __MAC_OS_X_VERSION_MAX_ALLOWED 130000

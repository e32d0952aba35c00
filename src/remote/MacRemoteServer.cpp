#include "remote/MacRemoteServer.h"

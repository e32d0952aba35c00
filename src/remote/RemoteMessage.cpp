#include "remote/RemoteMessage.h"

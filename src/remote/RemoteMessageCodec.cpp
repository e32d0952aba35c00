#include "remote/RemoteMessageCodec.h"

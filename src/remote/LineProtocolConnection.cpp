#include "remote/LineProtocolConnection.h"

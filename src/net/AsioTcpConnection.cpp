#include "net/AsioTcpConnection.h"

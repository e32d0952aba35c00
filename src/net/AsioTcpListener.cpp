#include "net/AsioTcpListener.h"

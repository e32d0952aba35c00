#pragma once

#include <memory>

#include "net/discovery/ServiceBrowser.h"

namespace tevanto {

/// The browser that looks for services through the Avahi daemon. Each call of `browse` has a connection of
/// its own and runs on the caller's thread; several threads may browse at once. It fails when no daemon
/// answers.
std::unique_ptr<ServiceBrowser> makeAvahiServiceBrowser();

}  // namespace tevanto

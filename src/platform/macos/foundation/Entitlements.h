#pragma once

#import <Foundation/Foundation.h>

namespace tevanto {

/// Whether this process was signed with the entitlement. Some frameworks end a process that uses them
/// without.
bool isEntitled(NSString* entitlement);

}  // namespace tevanto

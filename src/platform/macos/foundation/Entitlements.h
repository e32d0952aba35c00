#pragma once

#import <Foundation/Foundation.h>

namespace tevanto {

/// True when this process was signed with the entitlement. Some frameworks end a process that uses them
/// without theirs.
bool isEntitled(NSString* entitlement);

}  // namespace tevanto

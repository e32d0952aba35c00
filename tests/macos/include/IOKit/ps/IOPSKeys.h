#pragma once

#define kIOPSCurrentCapacityKey "Current Capacity"  // SINCE(10.2, "kIOPSCurrentCapacityKey")
#define kIOPSMaxCapacityKey "Max Capacity"  // SINCE(10.2, "kIOPSMaxCapacityKey")
#define kIOPSPowerSourceStateKey "Power Source State"  // SINCE(10.2, "kIOPSPowerSourceStateKey")
#define kIOPSBatteryPowerValue "Battery Power"  // SINCE(10.2, "kIOPSBatteryPowerValue")

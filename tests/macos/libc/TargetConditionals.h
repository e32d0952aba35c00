#pragma once

// Which of Apple's systems this is. What is not defined counts as none.
#define TARGET_OS_MAC 1
#define TARGET_OS_OSX 1

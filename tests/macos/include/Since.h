#pragma once

// Marks a declaration of macOS with the first version that has it and the title of its page in Apple's
// documentation. The compiler warns where a newer one than the deployment target is used without asking for
// the version first; scripts/macos-symbols lists both. Functions, types, constants, properties and methods
// carry the mark at their end, a class or protocol on the line before it, and a macro in a comment on its own
// line. The constants of an enumeration take over its mark unless they have one of their own.
#define SINCE(version, page) __attribute__((availability(macos, introduced = version)))

#pragma once

// Without what only Linux has.
#define dup3 tevantoOfLinuxDup3
#define environ tevantoOfLinuxEnviron
#define execvpe tevantoOfLinuxExecvpe
#define gettid tevantoOfLinuxGettid
#define pipe2 tevantoOfLinuxPipe2
#include_next <unistd.h>
#undef dup3
#undef environ
#undef execvpe
#undef gettid
#undef pipe2

#undef _POSIX_VERSION
#define _POSIX_VERSION 200112L

#pragma once

// Without what only Linux has.
#define MSG_NOSIGNAL tevantoOfLinuxMsgNosignal
#define SOCK_CLOEXEC tevantoOfLinuxSockCloexec
#define SOCK_NONBLOCK tevantoOfLinuxSockNonblock
#define accept4 tevantoOfLinuxAccept4
#define ucred tevantoOfLinuxUcred
#include_next <sys/socket.h>
#undef MSG_NOSIGNAL
#undef SOCK_CLOEXEC
#undef SOCK_NONBLOCK
#undef accept4
#undef ucred
#undef SO_PEERCRED
#undef MSG_CMSG_CLOEXEC

#define SO_NOSIGPIPE 0x1022

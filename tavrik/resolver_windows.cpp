#include <winsock2.h>
#include <ws2tcpip.h>

#include "tavrik/resolver_body.h"

#include <netdb.h>
#include <sys/socket.h>

#include "tavrik/resolver_body.h"

#pragma once

#include "lab/server.h"

// One lab for the whole program: the RPC runtime cannot give a port back.
inline unsigned lab_port() {
    static const lab::server server;
    return server.port();
}
